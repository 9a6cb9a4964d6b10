#pragma once

#include <dirent.h>

#include <cstdio>
#include <memory>

namespace ZEB {

// Closed when they go out of scope.
struct CloseHandle {
    void operator()(std::FILE* stream) const { std::fclose(stream); }
    void operator()(DIR* listing) const { closedir(listing); }
};
using Stream = std::unique_ptr<std::FILE, CloseHandle>;
using Listing = std::unique_ptr<DIR, CloseHandle>;

}  // namespace ZEB
