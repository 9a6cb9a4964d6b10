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
// one write or one read, the time stamp first. A stream that ends too early, has
// failed or has no buffer leaves a default record. They go straight to and from the stream's
// buffer: the stream's own guards around that cost a fetched record a fifth of its time.
template <std::size_t Size>
class WireRecord : public VEKSerializeable {
  public:
    void serialize(std::ostream& out) const override {
        if (!out.good()) return out.setstate(std::ios::failbit);
        if (out.rdbuf()->sputn(mImage.data(), Length) != Length) out.setstate(std::ios::badbit);
    }
    void deserialize(std::istream& in) override {
        if (in.good() && in.rdbuf()->sgetn(mImage.data(), Length) == Length) return;
        mImage = {};
        in.setstate(std::ios::eofbit | std::ios::failbit);
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
    static constexpr std::streamsize Length = Size;

    WireImage<Size> mImage;
};

}  // namespace ZEB
