#pragma once

#include <cerrno>
#include <cstddef>
#include <iostream>
#include <streambuf>

#include "files/StreamFormat.h"

namespace ZEB {

// A stream over the bytes of a slot. Each record finds its format, exception mask and errors
// as those of a new stream. It knows when a record did not fit.
class SlotStream {
  public:
    // Making one costs more than the rest of an append, so each thread keeps one.
    static SlotStream& ofThread();

    // The stream, at the start of these bytes and without errors.
    std::iostream& over(char* bytes, std::size_t size) {
        mBuffer.setBytes(bytes, size);
        mFormat.restore(mStream);
        if (!mStream.good()) mStream.clear();
        return mStream;
    }
    // Why the last record written must not be stored, as an errno, or 0: EMSGSIZE for one
    // that did not fit, EBADMSG for one that left the stream failed.
    int error() const {
        if (mBuffer.overrun()) return EMSGSIZE;
        return mStream.fail() ? EBADMSG : 0;
    }

  private:
    class Buffer : public std::streambuf {
      public:
        void setBytes(char* bytes, std::size_t size) {
            setg(bytes, bytes, bytes + size);
            setp(bytes, bytes + size);
            mOverrun = false;
        }
        bool overrun() const { return mOverrun; }

      protected:
        std::streamsize xsputn(char const* bytes, std::streamsize size) override;
        std::streamsize xsgetn(char* bytes, std::streamsize size) override;
        int_type overflow(int_type byte) override;

      private:
        bool mOverrun = false;
    };

    SlotStream();
    [[gnu::cold, gnu::noinline]] static SlotStream& makeForThread();

    Buffer mBuffer;
    std::iostream mStream{&mBuffer};
    StreamFormat mFormat;
};

}  // namespace ZEB
