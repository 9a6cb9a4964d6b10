#include "files/SlotIo.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>

namespace ZEB {

// The header's fields are written as they are in memory.
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__);

bool sameFamily(FileHeader const& found, FileHeader const& expected) {
    return std::strncmp(found.cookie, expected.cookie, sizeof found.cookie) == 0 &&
           found.version == expected.version && found.recordSize == expected.recordSize;
}

HeaderCheck checkFile(int fd, FileHeader const& expected, std::int64_t fileSize, char* slot0) {
    off_t const end = lseek(fd, 0, SEEK_END);
    if (end == -1) return HeaderCheck::NoLength;
    if (end < fileSize) return HeaderCheck::Rejected;

    char start[HeaderSize + MaxRecordSize];
    std::size_t const wanted = HeaderSize + expected.recordSize;
    if (pread(fd, start, wanted, 0) != static_cast<ssize_t>(wanted)) return HeaderCheck::Rejected;

    FileHeader found;
    std::memcpy(&found, start, HeaderSize);
    if (!sameFamily(found, expected) || found.recordCount != expected.recordCount) {
        return HeaderCheck::Rejected;
    }
    std::memcpy(slot0, start + HeaderSize, expected.recordSize);
    return HeaderCheck::Accepted;
}

bool writeWhole(int fd, void const* bytes, std::size_t size, std::int64_t offset) {
    ssize_t const moved = pwrite(fd, bytes, size, offset);
    bool const whole = moved == static_cast<ssize_t>(size);
    if (!whole && moved != -1) errno = EIO;
    return whole;
}

namespace {

template <typename Field>
bool writeField(int fd, Field const& field, std::size_t offset) {
    return writeWhole(fd, &field, sizeof field, static_cast<off_t>(offset));
}

}  // namespace

bool writeHeader(int fd, FileHeader const& header) {
    return writeField(fd, header.cookie, offsetof(FileHeader, cookie)) &&
           writeField(fd, header.version, offsetof(FileHeader, version)) &&
           writeField(fd, header.recordSize, offsetof(FileHeader, recordSize)) &&
           writeField(fd, header.recordCount, offsetof(FileHeader, recordCount));
}

bool exists(char const* path) {
    struct stat status {};
    return stat(path, &status) == 0;
}

void readBlockSize(char const* directory, std::uint64_t& blockSize) {
    struct stat status {};
    if (stat(directory, &status) == 0) {
        blockSize = static_cast<std::uint64_t>(status.st_blksize);
    } else {
        std::fprintf(stderr, "Failed to stat %s\n", directory);
    }
}

}  // namespace ZEB
