#include "files/SlotStream.h"

#include <algorithm>
#include <cstring>
#include <locale>
#include <new>

namespace ZEB {

namespace {

// The bytes in a slot must not depend on the process's locale.
std::ios& inClassicLocale(std::ios& stream) {
    stream.imbue(std::locale::classic());
    return stream;
}

// Never destroyed, since registering a destructor could fail; it owns no memory.
alignas(SlotStream) thread_local char storage[sizeof(SlotStream)];
thread_local SlotStream* kept = nullptr;

}  // namespace

SlotStream::SlotStream() : mFormat(inClassicLocale(mStream)) {}

SlotStream& SlotStream::ofThread() { return kept != nullptr ? *kept : makeForThread(); }

SlotStream& SlotStream::makeForThread() {
    kept = new (storage) SlotStream;
    return *kept;
}

std::streamsize SlotStream::Buffer::xsputn(char const* bytes, std::streamsize size) {
    std::streamsize const fitting = std::min<std::streamsize>(size, epptr() - pptr());
    std::memcpy(pptr(), bytes, static_cast<std::size_t>(fitting));
    pbump(static_cast<int>(fitting));
    if (fitting < size) mOverrun = true;
    return fitting;
}

std::streamsize SlotStream::Buffer::xsgetn(char* bytes, std::streamsize size) {
    std::streamsize const held = std::min<std::streamsize>(size, egptr() - gptr());
    std::memcpy(bytes, gptr(), static_cast<std::size_t>(held));
    gbump(static_cast<int>(held));
    return held;
}

SlotStream::Buffer::int_type SlotStream::Buffer::overflow(int_type) {
    mOverrun = true;
    return traits_type::eof();
}

}  // namespace ZEB
