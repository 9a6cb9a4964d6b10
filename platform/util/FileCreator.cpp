#include "util/FileCreator.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <system_error>

namespace ZEB {

namespace {

// Beside the target, since a rename does not cross file systems.
std::string hiddenPath(std::string const& path, std::string const& directory,
                       std::string const& name) {
    static std::atomic<unsigned> calls{0};
    auto const slash = path.rfind('/');
    return (slash == std::string::npos ? directory : path.substr(0, slash)) + '/' + name + '.' +
           std::to_string(getpid()) + '.' + std::to_string(calls++);
}

bool makeFile(char const* path, std::int64_t size) {
    unlink(path);  // left in another directory by a process that had the same number
    int const fd = open(path, O_RDWR | O_CREAT | O_EXCL, 0600);
    if (fd == -1) return false;
    int failure = 0;
    do {
        failure = posix_fallocate(fd, 0, size);
    } while (failure == EINTR);
    close(fd);
    if (failure == 0) return true;
    unlink(path);
    errno = failure;
    return false;
}

// What processes that are no more left half made, one with this one's number included.
void removeLeftovers(std::string const& directory, std::string const& name) {
    std::error_code failed;
    std::filesystem::directory_iterator entry(directory, failed);
    for (; !failed && entry != std::filesystem::directory_iterator(); entry.increment(failed)) {
        int process = 0;
        std::string const pattern = name + ".%d.";
        if (std::sscanf(entry->path().filename().c_str(), pattern.c_str(), &process) != 1) continue;
        if (process == getpid() || (kill(process, 0) == -1 && errno == ESRCH)) {
            unlink(entry->path().c_str());
        }
    }
}

}  // namespace

FileCreator::FileCreator(char const* name, char const* directory, std::int64_t fileSize)
    : mName(name), mDirectory(directory), mFileSize(fileSize) {
    removeLeftovers(mDirectory, mName);
}

bool FileCreator::GetNewFile(char const* path) {
    std::string const hidden = hiddenPath(path, mDirectory, mName);
    if (!makeFile(hidden.c_str(), mFileSize)) return false;
    if (std::rename(hidden.c_str(), path) == 0) return true;
    int const failure = errno;
    unlink(hidden.c_str());
    errno = failure;
    return false;
}

}  // namespace ZEB
