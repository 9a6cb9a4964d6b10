#pragma once

namespace ZEB {

// Writes one line to standard error when level (1 errors, 2 notices) is at most
// the environment variable VEK_LOG_LEVEL (1 if not set). Texts over 8191 bytes are cut.
[[gnu::format(printf, 2, 3)]] void VEKLogMsg(int level, char const* format, ...);

}  // namespace ZEB
