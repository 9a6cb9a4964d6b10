#pragma once

#include <cstring>
#include <ios>
#include <locale>

namespace ZEB {

// How a stream formats and when it throws, saved at construction. A record may change all
// of that on the stream that it is given; restore() undoes it for the next record.
class StreamFormat {
  public:
    explicit StreamFormat(std::ios const& stream)
        : mFlags(stream.flags()),
          mWidth(stream.width()),
          mPrecision(stream.precision()),
          mFill(stream.fill()),
          mExceptions(stream.exceptions()),
          mLocale(stream.getloc()) {}

    void restore(std::ios& stream) const {
        if (!isOf(stream)) set(stream);
    }

  private:
    bool isOf(std::ios const& stream) const {
        // getloc() would copy the locale, which costs a tenth of an append, and == calls the
        // standard library; two that differ here but are equal are only set again.
        return stream.flags() == mFlags && stream.width() == mWidth &&
               stream.precision() == mPrecision && stream.fill() == mFill &&
               stream.exceptions() == mExceptions &&
               std::memcmp(&stream._M_getloc(), &mLocale, sizeof mLocale) == 0;  // NOLINT
    }
    [[gnu::cold, gnu::noinline]] void set(std::ios& stream) const {
        stream.exceptions(std::ios::goodbit);  // nothing throws before it is set again
        stream.flags(mFlags);
        stream.width(mWidth);
        stream.precision(mPrecision);
        stream.fill(mFill);
        stream.imbue(mLocale);
        stream.exceptions(mExceptions);
    }

    std::ios::fmtflags mFlags;
    std::streamsize mWidth;
    std::streamsize mPrecision;
    char mFill;
    std::ios::iostate mExceptions;
    std::locale mLocale;
};

}  // namespace ZEB
