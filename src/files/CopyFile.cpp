#include "files/CopyFile.h"

#include <cstddef>
#include <cstdio>

namespace ZEB {

bool copyFile(char const* from, char const* to) {
    std::FILE* const out = std::fopen(to, "wb");
    if (out == nullptr) {
        std::perror(to);
        return false;
    }
    std::FILE* const in = std::fopen(from, "rb");
    if (in == nullptr) {
        std::perror(from);
        std::fclose(out);
        return false;
    }
    char bytes[8192];
    while (std::size_t const size = std::fread(bytes, 1, sizeof bytes, in)) {
        std::fwrite(bytes, 1, size, out);
    }
    std::fclose(in);
    std::fclose(out);
    return true;
}

}  // namespace ZEB
