#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>
#include <utility>

namespace ZEB {

// The bytes of a request, a reply or a record; zeros when constructed from a size.
// Grows when a stream writes past its end.
class ByteBuf {
  public:
    ByteBuf() = default;
    explicit ByteBuf(std::size_t size) {
        grow(size);
        std::fill_n(data(), size, '\0');
        mSize = size;
    }
    ByteBuf(char const* bytes, std::size_t size) { put(0, bytes, size); }
    ByteBuf(ByteBuf const& other) : ByteBuf(other.data(), other.size()) {}
    ByteBuf(ByteBuf&& other) noexcept { swap(other); }
    ByteBuf& operator=(ByteBuf other) noexcept {
        swap(other);
        return *this;
    }
    ~ByteBuf() = default;

    char* data() { return mBytes.get(); }
    char const* data() const { return mBytes.get(); }
    std::size_t size() const { return mSize; }

    // Puts size bytes at offset (0 to size()). They replace what is there and may go on
    // past the end.
    void put(std::size_t offset, char const* bytes, std::size_t size) {
        std::size_t const end = offset + size;
        if (end > mCapacity) grow(std::max(end, 2 * mCapacity));
        std::copy_n(bytes, size, data() + offset);
        mSize = std::max(mSize, end);
    }

  private:
    struct Free {
        void operator()(char* bytes) const { std::free(bytes); }
    };

    // A long reply mostly grows where it lies, which saves copying it.
    [[gnu::noinline]] void grow(std::size_t capacity) {
        auto* const grown = static_cast<char*>(std::realloc(mBytes.get(), capacity));
        if (grown == nullptr) throw std::bad_alloc();
        (void)mBytes.release();
        mBytes.reset(grown);
        mCapacity = capacity;
    }

    void swap(ByteBuf& other) noexcept {
        std::swap(mBytes, other.mBytes);
        std::swap(mSize, other.mSize);
        std::swap(mCapacity, other.mCapacity);
    }

    std::unique_ptr<char, Free> mBytes;
    std::size_t mSize = 0;
    std::size_t mCapacity = 0;
};

}  // namespace ZEB
