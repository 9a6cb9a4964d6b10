#pragma once

namespace ZEB {

// Copies a file over another one, which is made if it is missing. False, with a
// perror of the path, when one of the two can't be opened; without a source the
// destination is left empty. Short writes are not noticed.
bool copyFile(char const* from, char const* to);

}  // namespace ZEB
