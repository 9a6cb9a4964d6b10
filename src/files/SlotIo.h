#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <limits>

namespace ZEB {

// What every log file begins with, little-endian; the slots follow at once.
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

// The cookie as a zero-terminated text, then version and record size.
bool sameFamily(FileHeader const& found, FileHeader const& expected);

// Checks length, header and slot 0 and reads the latter into slot0 (recordSize
// bytes). NoLength when the file's end can't be sought.
HeaderCheck checkFile(int fd, FileHeader const& expected, std::int64_t fileSize, char* slot0);

// By one write. False sets errno, to EIO where the write was cut short.
bool writeWhole(int fd, void const* bytes, std::size_t size, std::int64_t offset);

// Field by field, each with one write. False sets errno, as above.
bool writeHeader(int fd, FileHeader const& header);

// Where a slot begins; -1 when it begins before the file or beyond 31 bits.
constexpr std::int64_t slotOffset(int slot, std::uint16_t recordSize) {
    std::int64_t const offset =
        std::int64_t{slot} * recordSize + static_cast<std::int64_t>(HeaderSize);
    return offset >= 0 && offset <= std::numeric_limits<std::int32_t>::max() ? offset : -1;
}

// Sets blockSize to the directory's preferred block size in bytes, or reports on
// standard error and leaves it.
void adoptBlockSize(char const* directory, std::uint64_t& blockSize);

// Whether anything at all stands at path.
bool exists(char const* path);

// False when the path was cut to fit. The format is one of FileNames.h, behind a
// directory.
template <std::size_t Size, typename... Arguments>
[[nodiscard]] bool formatPath(char (&path)[Size], char const* format, Arguments... arguments) {
    int const length = std::snprintf(path, Size, format, arguments...);
    return length >= 0 && static_cast<std::size_t>(length) < Size;
}

}  // namespace ZEB
