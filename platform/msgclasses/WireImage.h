#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace ZEB {

// A record's serialised bytes, read and written field by field at fixed offsets,
// little-endian on every processor. Records keep their values in this form, so that
// storing one moves its bytes and converts nothing.
template <std::size_t Size>
class WireImage {
  public:
    char* data() { return mBytes.data(); }
    char const* data() const { return mBytes.data(); }

    template <typename T>
    T get(std::size_t offset) const {
        Bits<T> bits = 0;
        for (std::size_t i = 0; i < sizeof(T); ++i) {
            auto const byte = static_cast<unsigned char>(mBytes[offset + i]);
            bits = static_cast<Bits<T>>(bits | static_cast<Bits<T>>(Bits<T>{byte} << (8 * i)));
        }
        T value;
        std::memcpy(&value, &bits, sizeof value);
        return value;
    }

    template <typename T>
    void set(std::size_t offset, T value) {
        Bits<T> bits;
        std::memcpy(&bits, &value, sizeof bits);
        for (std::size_t i = 0; i < sizeof(T); ++i) {
            mBytes[offset + i] = static_cast<char>((bits >> (8 * i)) & 0xff);
        }
    }

  private:
    template <typename T>
    using Bits =
        std::conditional_t<sizeof(T) == 8, std::uint64_t,
                           std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint16_t>>;

    std::array<char, Size> mBytes{};
};

}  // namespace ZEB
