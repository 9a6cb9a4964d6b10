#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace ZEB {

// The bytes of a request, a reply or a record; zeros when constructed from a size.
// Grows when a stream writes past its end.
class ByteBuf {
  public:
    ByteBuf() = default;
    explicit ByteBuf(std::size_t size) : mBytes(size) {}
    ByteBuf(char const* bytes, std::size_t size) : mBytes(bytes, bytes + size) {}

    char* data() { return mBytes.data(); }
    char const* data() const { return mBytes.data(); }
    std::size_t size() const { return mBytes.size(); }

    // Puts size bytes at offset (0 to size()). They replace what is there and may go on
    // past the end.
    void put(std::size_t offset, char const* bytes, std::size_t size) {
        std::size_t const over = std::min(size, mBytes.size() - offset);
        if (over > 0) std::copy_n(bytes, over, mBytes.data() + offset);
        mBytes.insert(mBytes.end(), bytes + over, bytes + size);
    }

  private:
    std::vector<char> mBytes;
};

}  // namespace ZEB
