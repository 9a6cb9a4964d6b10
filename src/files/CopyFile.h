#pragma once

namespace ZEB {

// Empties or makes to, then copies from into it; false, with a perror of the
// path, when either can't be opened. Without a source, to stays empty. Short
// writes are not noticed.
bool copyFile(char const* from, char const* to);

}  // namespace ZEB
