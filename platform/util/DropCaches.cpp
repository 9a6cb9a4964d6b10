#include "util/DropCaches.h"

namespace ZEB {

void DropCaches() {}

}  // namespace ZEB
