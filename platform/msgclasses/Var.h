#pragma once

#include <utility>

#include "msgclasses/ByteBuf.h"

namespace ZEB {

// A request value as a client sent it.
class Var {
  public:
    explicit Var(ByteBuf bytes) : mBytes(std::move(bytes)) {}
    ByteBuf toByteBufType() const { return mBytes; }

  private:
    ByteBuf mBytes;
};

}  // namespace ZEB
