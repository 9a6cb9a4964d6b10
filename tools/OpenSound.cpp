#include "OpenSound.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>

namespace ZEB::tool {

namespace {

// Not blocking: a pipe in a file's place must not stop the tool.
constexpr int OpenFlags = O_RDONLY | O_CLOEXEC | O_NONBLOCK;

std::string difference(char const* field, int found, int expected) {
    return std::string("wrong header: ") + field + ' ' + std::to_string(found) + " instead of " +
           std::to_string(expected);
}

std::string causeOf(std::optional<FileHeader> const& found, FileHeader const& expected,
                    std::int64_t length, std::int64_t fileSize) {
    if (found) {
        FileHeader sameCookie = expected;
        sameCookie.version = found->version;
        sameCookie.recordSize = found->recordSize;
        if (!sameFamily(*found, sameCookie)) {
            return std::string("wrong header: not the cookie \"") + expected.cookie + '"';
        }
        if (found->version != expected.version) {
            return difference("version", found->version, expected.version);
        }
        if (found->recordSize != expected.recordSize) {
            return difference("record size", found->recordSize, expected.recordSize);
        }
        if (found->recordCount == 0) return "wrong header: no slots";
        if (found->recordCount != expected.recordCount) {
            return difference("record count", found->recordCount, expected.recordCount);
        }
    }
    std::string const whole = expected.recordCount > 0 ? " of " + std::to_string(fileSize) : "";
    return "short file: " + std::to_string(length) + whole + " bytes";
}

}  // namespace

std::optional<FileHeader> headerAt(std::string const& path) {
    int const fd = open(path.c_str(), OpenFlags);
    if (fd == -1) return std::nullopt;
    FileHeader header;
    bool const whole = pread(fd, &header, HeaderSize, 0) == static_cast<ssize_t>(HeaderSize);
    close(fd);
    return whole ? std::optional(header) : std::nullopt;
}

int openSound(std::string const& path, FileHeader const& expected, char* slot0,
              std::optional<Fault>& fault) {
    std::int64_t const fileSize = static_cast<std::int64_t>(HeaderSize) +
                                  std::int64_t{expected.recordCount} * expected.recordSize;
    int const fd = open(path.c_str(), OpenFlags);
    struct stat status {};
    if (fd == -1 || fstat(fd, &status) != 0) {
        fault = Fault{true, std::strerror(errno), false};
    } else if (!S_ISREG(status.st_mode)) {
        fault = Fault{true, "not a regular file", false};
    } else if (expected.recordCount > 0 &&
               checkFile(fd, expected, fileSize, slot0) == HeaderCheck::Accepted) {
        posix_fadvise(fd, 0, 0, POSIX_FADV_SEQUENTIAL);
        return fd;
    } else {
        auto const header = headerAt(path);
        // The number of slots is written last.
        bool const isNew = !header || header->recordCount == 0;
        fault = Fault{false, causeOf(header, expected, status.st_size, fileSize), isNew};
    }
    if (fd != -1) close(fd);
    return -1;
}

int openUnfit(std::string const& path, std::uint16_t recordSize, char* slot0) {
    int const fd = open(path.c_str(), OpenFlags);
    if (fd != -1 && pread(fd, slot0, recordSize, HeaderSize) == ssize_t{recordSize}) return fd;
    if (fd != -1) close(fd);
    return -1;
}

int slotsIn(std::string const& path, std::uint16_t recordSize) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return 0;
    std::int64_t const slots =
        (std::int64_t{status.st_size} - std::int64_t{HeaderSize}) / recordSize;
    constexpr std::int64_t Most = std::numeric_limits<std::uint16_t>::max();
    return static_cast<int>(std::clamp<std::int64_t>(slots, 0, Most));
}

}  // namespace ZEB::tool
