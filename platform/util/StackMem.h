#pragma once

#include <cstddef>
#include <memory>

namespace ZEB {

// A scratch buffer of characters, all zero at first.
class StackMem {
  public:
    explicit StackMem(std::size_t size) : mBytes(std::make_unique<char[]>(size)), mSize(size) {}
    char* Str() { return mBytes.get(); }
    std::size_t Size() const { return mSize; }

  private:
    std::unique_ptr<char[]> mBytes;
    std::size_t mSize;
};

}  // namespace ZEB
