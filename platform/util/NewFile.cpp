#include "util/NewFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>

namespace ZEB {

namespace {

// With the slash; empty for the current directory.
std::string directoryOf(std::string const& path) { return path.substr(0, path.rfind('/') + 1); }

bool link(int fd, char const* path) {
    char from[32];
    std::snprintf(from, sizeof from, "/proc/self/fd/%d", fd);
    return linkat(AT_FDCWD, from, AT_FDCWD, path, AT_SYMLINK_FOLLOW) == 0;
}

int openWithoutName(std::string const& directory) {
    if (access("/proc/self/fd", X_OK) != 0) {
        errno = EOPNOTSUPP;
        return -1;
    }
    return open(directory.empty() ? "." : directory.c_str(), O_RDWR | O_TMPFILE, 0600);
}

}  // namespace

// Tries one name after the other until one is free. The string is made before the name
// is claimed, so that a failed allocation leaves no file.
template <typename Claim>
bool NewFile::claimHiddenName(Claim claim) {
    static std::atomic<unsigned> calls{0};
    for (;;) {
        std::string name = mHiddenStart + std::to_string(calls++);
        bool const claimed = claim(name.c_str());
        if (claimed) mHidden.swap(name);
        if (claimed || errno != EEXIST) return claimed;
    }
}

NewFile::NewFile(std::string const& path, std::string const& hidden)
    : mPath(path), mHiddenStart(directoryOf(path) + hidden + '.') {
    mFd = openWithoutName(directoryOf(path));
    // EISDIR: a kernel that does not know O_TMPFILE takes this for opening a directory.
    if (mFd != -1 || (errno != EOPNOTSUPP && errno != EISDIR)) return;
    claimHiddenName([this](char const* name) {
        mFd = open(name, O_RDWR | O_CREAT | O_EXCL, 0600);
        return mFd != -1;
    });
}

NewFile::~NewFile() {
    int const failure = errno;
    if (mFd != -1) close(mFd);
    if (!mHidden.empty()) unlink(mHidden.c_str());
    errno = failure;
}

bool NewFile::putInPlace() {
    if (mHidden.empty()) {
        if (link(mFd, mPath.c_str())) return true;
        if (errno != EEXIST) return false;
        if (!claimHiddenName([this](char const* name) { return link(mFd, name); })) return false;
    }
    if (std::rename(mHidden.c_str(), mPath.c_str()) != 0) return false;
    mHidden.clear();
    return true;
}

}  // namespace ZEB
