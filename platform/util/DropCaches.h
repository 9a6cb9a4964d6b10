#pragma once

namespace ZEB {

// Called after a file was closed, so that the instrument can give its page
// cache back. Here it only counts.
void DropCaches();
unsigned long DropCachesCalls();

}  // namespace ZEB
