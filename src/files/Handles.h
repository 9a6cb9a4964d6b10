#pragma once

#include <dirent.h>
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <utility>

namespace ZEB {

// Closed when they go out of scope.
struct CloseHandle {
    void operator()(std::FILE* stream) const { std::fclose(stream); }
    void operator()(DIR* listing) const { closedir(listing); }
};
using Stream = std::unique_ptr<std::FILE, CloseHandle>;
using Listing = std::unique_ptr<DIR, CloseHandle>;

// The same for a file descriptor (-1: none), until it is released to another owner.
class Descriptor {
  public:
    explicit Descriptor(int fd) : mFd(fd) {}
    ~Descriptor() {
        if (mFd != -1) close(mFd);
    }
    Descriptor(Descriptor const&) = delete;
    Descriptor& operator=(Descriptor const&) = delete;

    int get() const { return mFd; }
    int release() { return std::exchange(mFd, -1); }

  private:
    int mFd;
};

}  // namespace ZEB
