#pragma once

#include <endian.h>

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
    // In two stretches, since compilers clear a long one with an instruction that is slow to
    // start.
    WireImage() {
        std::memset(mBytes.data(), 0, Half);
        std::memset(mBytes.data() + Half, 0, Size - Half);
    }

    char* data() { return mBytes.data(); }
    char const* data() const { return mBytes.data(); }

    // Whole words, which compilers make one instruction of, as they don't of shifts.
    template <typename T>
    T get(std::size_t offset) const {
        Bits<T> bits;
        std::memcpy(&bits, &mBytes[offset], sizeof bits);
        bits = swappedOnBigEndian(bits);
        T value;
        std::memcpy(&value, &bits, sizeof value);
        return value;
    }

    template <typename T>
    void set(std::size_t offset, T value) {
        Bits<T> bits;
        std::memcpy(&bits, &value, sizeof bits);
        bits = swappedOnBigEndian(bits);
        std::memcpy(&mBytes[offset], &bits, sizeof bits);
    }

  private:
    template <typename T>
    using Bits =
        std::conditional_t<sizeof(T) == 8, std::uint64_t,
                           std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint16_t>>;

    static std::uint16_t swappedOnBigEndian(std::uint16_t bits) { return htole16(bits); }
    static std::uint32_t swappedOnBigEndian(std::uint32_t bits) { return htole32(bits); }
    static std::uint64_t swappedOnBigEndian(std::uint64_t bits) { return htole64(bits); }

    static constexpr std::size_t Half = Size / 2;

    std::array<char, Size> mBytes;
};

}  // namespace ZEB
