#include "util/FileCreator.h"

#include <fcntl.h>

#include <cerrno>

#include "util/NewFile.h"

namespace ZEB {

namespace {

bool allocate(int fd, std::int64_t size) {
    int failure = 0;
    do {
        failure = posix_fallocate(fd, 0, size);
    } while (failure == EINTR);
    if (failure != 0) errno = failure;
    return failure == 0;
}

}  // namespace

FileCreator::FileCreator(char const* name, char const* /*directory*/, std::int64_t fileSize)
    : mName(name), mFileSize(fileSize) {}

bool FileCreator::GetNewFile(char const* path) {
    NewFile file(path, mName);
    return file.fd() != -1 && allocate(file.fd(), mFileSize) && file.putInPlace();
}

}  // namespace ZEB
