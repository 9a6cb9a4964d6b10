#include "msgclasses/ByteStream.h"

namespace ZEB {

ByteStream::ByteStream(ByteBuf* buffer) : std::iostream(nullptr), mBuffer(buffer) {
    rdbuf(&mBuffer);  // also clears the error state of a stream without a buffer
    // Without it a stream swallows std::bad_alloc, and the reply ends in the middle.
    exceptions(std::ios_base::badbit);
}

std::streamsize ByteStream::Buffer::xsputn(char const* bytes, std::streamsize size) {
    auto const readOffset = static_cast<std::size_t>(gptr() - eback());
    mBytes->put(mWriteOffset, bytes, static_cast<std::size_t>(size));
    mWriteOffset += static_cast<std::size_t>(size);
    exposeFrom(readOffset);
    return size;
}

ByteStream::Buffer::int_type ByteStream::Buffer::overflow(int_type byte) {
    if (traits_type::eq_int_type(byte, traits_type::eof())) return traits_type::not_eof(byte);
    char const value = traits_type::to_char_type(byte);
    xsputn(&value, 1);
    return byte;
}

void ByteStream::Buffer::exposeFrom(std::size_t readOffset) {
    char* const begin = mBytes->data();
    setg(begin, begin + readOffset, begin + mBytes->size());
}

ByteStream& operator<<(ByteStream& out, VEKSerializeable const& value) {
    value.serialize(out);
    return out;
}

}  // namespace ZEB
