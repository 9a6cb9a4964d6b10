#pragma once

#include <cstddef>
#include <cstdint>
#include <istream>
#include <ostream>

#include "msgclasses/TimeStamp.h"
#include "msgclasses/VEKSerializeable.h"
#include "msgclasses/WireImage.h"

namespace ZEB {

// What the three record classes share: exactly Size serialised bytes, moved by
// one write or one read, the time stamp first. A stream that ends too early
// leaves a default record.
template <std::size_t Size>
class WireRecord : public VEKSerializeable {
  public:
    void serialize(std::ostream& out) const override {
        out.write(mImage.data(), static_cast<std::streamsize>(Size));
    }
    void deserialize(std::istream& in) override {
        if (!in.read(mImage.data(), static_cast<std::streamsize>(Size))) mImage = {};
    }

    TimeStamp timeStamp() const {
        return TimeStamp(get<std::int32_t>(0), get<std::uint32_t>(4), get<std::uint32_t>(8),
                         get<std::int16_t>(12));
    }
    void setTimeStamp(TimeStamp const& time) {
        set(0, time.seconds());
        set(4, time.microseconds());
        set(8, time.uptime());
        set(12, time.utcOffset());
    }

  protected:
    template <typename T>
    T get(std::size_t offset) const {
        return mImage.template get<T>(offset);
    }
    template <typename T>
    void set(std::size_t offset, T value) {
        mImage.set(offset, value);
    }
    char* bytes(std::size_t offset) { return mImage.data() + offset; }
    char const* bytes(std::size_t offset) const { return mImage.data() + offset; }

  private:
    WireImage<Size> mImage;
};

}  // namespace ZEB
