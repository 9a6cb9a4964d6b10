#include "util/DropCaches.h"

#include <atomic>

namespace ZEB {

namespace {
std::atomic<unsigned long> calls{0};
}

void DropCaches() { ++calls; }

unsigned long DropCachesCalls() { return calls; }

}  // namespace ZEB
