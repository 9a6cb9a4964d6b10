#pragma once

namespace ZEB {

// What CopyLog of a public class promises. A file that can't be opened is reported.
bool copyFile(char const* from, char const* to);

}  // namespace ZEB
