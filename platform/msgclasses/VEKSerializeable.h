#pragma once

#include <iosfwd>

namespace ZEB {

class ByteStream;

class VEKSerializeable {
  public:
    virtual ~VEKSerializeable() = default;
    virtual void serialize(std::ostream& out) const = 0;
    virtual void deserialize(std::istream& in) = 0;

  protected:
    VEKSerializeable() = default;
    VEKSerializeable(VEKSerializeable const&) = default;
    VEKSerializeable& operator=(VEKSerializeable const&) = default;
};

ByteStream& operator<<(ByteStream& out, VEKSerializeable const& value);

}  // namespace ZEB
