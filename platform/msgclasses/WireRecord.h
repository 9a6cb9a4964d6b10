#pragma once

#include <cstddef>
#include <cstdint>
#include <istream>
#include <ostream>

#include "msgclasses/TimeStamp.h"
#include "msgclasses/VEKSerializeable.h"
#include "msgclasses/WireImage.h"

namespace ZEB {

// One field of a record: a T at an offset in its serialised bytes. The next field
// begins at its End.
template <typename T, std::size_t At>
struct WireField {
    using Type = T;
    static constexpr std::size_t Offset = At;
    static constexpr std::size_t End = At + sizeof(T);
};

// What the three record classes share: exactly Size serialised bytes, moved by
// one write or one read, the time stamp first. A stream that ends too early, has
// failed or has no buffer leaves a default record. The bytes go straight to and from
// the stream's buffer: the stream's own guards would cost a fifth of a fetched
// record's time. Default constructors of the record classes have a body: with a defaulted
// one, the records of a vector would be cleared twice.
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
        return TimeStamp(get<Seconds>(), get<Microseconds>(), get<Uptime>(), get<UtcOffset>());
    }
    void setTimeStamp(TimeStamp const& time) {
        set<Seconds>(time.seconds());
        set<Microseconds>(time.microseconds());
        set<Uptime>(time.uptime());
        set<UtcOffset>(time.utcOffset());
    }

  private:
    using Seconds = WireField<std::int32_t, 0>;
    using Microseconds = WireField<std::uint32_t, Seconds::End>;
    using Uptime = WireField<std::uint32_t, Microseconds::End>;
    using UtcOffset = WireField<std::int16_t, Uptime::End>;

  protected:
    static constexpr std::size_t TimeStampEnd = UtcOffset::End;

    template <class Field>
    typename Field::Type get() const {
        return get<typename Field::Type>(Field::Offset);
    }
    template <class Field>
    void set(typename Field::Type value) {
        set(Field::Offset, value);
    }
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
