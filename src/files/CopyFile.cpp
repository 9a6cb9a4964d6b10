#include "files/CopyFile.h"

#include <cstddef>
#include <cstdio>

#include "files/Handles.h"

namespace ZEB {

bool copyFile(char const* from, char const* to) {
    Stream const out(std::fopen(to, "wb"));
    if (!out) {
        std::perror(to);
        return false;
    }
    Stream const in(std::fopen(from, "rb"));
    if (!in) {
        std::perror(from);
        return false;
    }
    char bytes[8192];
    while (std::size_t const size = std::fread(bytes, 1, sizeof bytes, in.get())) {
        std::fwrite(bytes, 1, size, out.get());
    }
    return true;
}

}  // namespace ZEB
