#pragma once

#include <cstdio>
#include <memory>

namespace ZEB {

struct CloseStream {
    void operator()(std::FILE* stream) const { std::fclose(stream); }
};
using Stream = std::unique_ptr<std::FILE, CloseStream>;

// The pointer at path: the index of the file being written, as decimal text.
inline bool readPointer(char const* path, int* fileIndex) {
    Stream const in(std::fopen(path, "rb"));
    return in && std::fscanf(in.get(), "%d", fileIndex) == 1;
}

}  // namespace ZEB
