#pragma once

namespace ZEB {

// Called after a file was closed, so that the instrument can drop its page cache.
// The stand-in does nothing.
void DropCaches();

}  // namespace ZEB
