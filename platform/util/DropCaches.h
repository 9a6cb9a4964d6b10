#pragma once

namespace ZEB {

// Called after a file was closed, so that the instrument can give its page
// cache back. Here it leaves the machine's alone.
void DropCaches();

}  // namespace ZEB
