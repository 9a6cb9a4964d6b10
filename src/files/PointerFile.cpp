#include "files/PointerFile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <tuple>

#include "files/Handles.h"

namespace ZEB {

namespace {

bool write(std::FILE* out, int fileIndex, PointerWrite reason) {
    if (std::fprintf(out, "%d", fileIndex) <= 0 || std::fflush(out) != 0) return false;
    timespec const longAgo[2] = {};
    bool const dated = reason == PointerWrite::ForMove || futimens(fileno(out), longAgo) == 0;
    return fsync(fileno(out)) == 0 && dated;
}

bool isEarlier(timespec const& one, timespec const& other) {
    return std::tie(one.tv_sec, one.tv_nsec) < std::tie(other.tv_sec, other.tv_nsec);
}

}  // namespace

bool readPointer(char const* path, int* fileIndex) {
    Stream const in(std::fopen(path, "rb"));
    return in && std::fscanf(in.get(), "%d", fileIndex) == 1;
}

void writePointer(char const* path, int fileIndex, PointerWrite reason) {
    Stream const out(std::fopen(path, "wb"));
    if (!out || !write(out.get(), fileIndex, reason)) std::perror(path);
}

bool modifiedSincePointer(char const* file, char const* pointer) {
    struct stat fileStatus {};
    struct stat pointerStatus {};
    if (stat(file, &fileStatus) != 0 || stat(pointer, &pointerStatus) != 0) return true;
    return !isEarlier(fileStatus.st_mtim, pointerStatus.st_mtim);
}

}  // namespace ZEB
