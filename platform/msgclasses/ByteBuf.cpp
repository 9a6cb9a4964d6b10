#include "msgclasses/ByteBuf.h"

#include <algorithm>

namespace ZEB {

void ByteBuf::put(std::size_t offset, char const* bytes, std::size_t size) {
    std::size_t const over = std::min(size, mBytes.size() - offset);
    std::copy(bytes, bytes + over, mBytes.begin() + static_cast<std::ptrdiff_t>(offset));
    mBytes.insert(mBytes.end(), bytes + over, bytes + size);
}

}  // namespace ZEB
