#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <limits>

namespace ZEB {

// The beginning of every log file, little-endian; the slots follow directly.
struct FileHeader {
    char cookie[12];
    std::uint16_t version;
    std::uint16_t recordSize;
    std::uint16_t recordCount;
};
constexpr std::size_t HeaderSize = 18;
static_assert(sizeof(FileHeader) == HeaderSize);
constexpr std::size_t MaxRecordSize = 110;

// A file with more slots belongs to an instrument with large storage.
constexpr int SmallStorageSlots = 2000;

enum class HeaderCheck { Accepted, Rejected, NoLength };

// Compares the cookies as zero-terminated texts, the versions and the record sizes.
bool sameFamily(FileHeader const& found, FileHeader const& expected);

// Checks length and header, and reads slot 0 into slot0 (recordSize bytes). Rejected
// when one of the three fails, NoLength when seeking its end fails.
HeaderCheck checkFile(int fd, FileHeader const& expected, std::int64_t fileSize, char* slot0);

// Writes size bytes with one call. False sets errno, to EIO for a short write.
bool writeWhole(int fd, void const* bytes, std::size_t size, std::int64_t offset);

// Writes each field with one call. False sets errno, as above.
bool writeHeader(int fd, FileHeader const& header);

// Where a slot begins in its file; -1 for an offset that is negative or needs over 31 bits.
constexpr std::int64_t slotOffset(int slot, std::uint16_t recordSize) {
    std::int64_t const offset =
        std::int64_t{slot} * recordSize + static_cast<std::int64_t>(HeaderSize);
    return offset >= 0 && offset <= std::numeric_limits<std::int32_t>::max() ? offset : -1;
}

// Sets blockSize to the directory's preferred block size in bytes. Where that can't be
// read, reports it on standard error and leaves blockSize alone.
void readBlockSize(char const* directory, std::uint64_t& blockSize);

// Whether stat finds anything at path: not for a link to nothing.
bool exists(char const* path);

// False when the path was cut to fit.
template <std::size_t Size, typename... Arguments>
[[nodiscard]] bool formatPath(char (&path)[Size], char const* format, Arguments... arguments) {
    int const length = std::snprintf(path, Size, format, arguments...);
    return length >= 0 && static_cast<std::size_t>(length) < Size;
}

}  // namespace ZEB
