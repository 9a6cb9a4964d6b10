#pragma once

#include <cstddef>
#include <iostream>
#include <streambuf>

#include "msgclasses/ByteBuf.h"
#include "msgclasses/VEKSerializeable.h"

namespace ZEB {

// Reads and writes a caller's ByteBuf, each from the buffer's start. Writing
// replaces what the buffer holds but never shortens it: give each reply a fresh
// buffer. The buffer must outlive the stream.
class ByteStream : public std::iostream {
  public:
    explicit ByteStream(ByteBuf* buffer);

  private:
    class Buffer : public std::streambuf {
      public:
        explicit Buffer(ByteBuf* bytes) : mBytes(bytes) { exposeFrom(0); }

      protected:
        std::streamsize xsputn(char const* bytes, std::streamsize size) override;
        int_type overflow(int_type byte) override;

      private:
        void exposeFrom(std::size_t readOffset);

        ByteBuf* mBytes;
        std::size_t mWriteOffset = 0;
    };

    Buffer mBuffer;
};

}  // namespace ZEB
