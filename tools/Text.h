#pragma once

#include <string>
#include <string_view>

namespace ZEB::tool {

// How control characters are written. Csv keeps tabs and line breaks, which its
// readers take within quotes.
enum class Escapes { Backslash, Csv, Json };

// The bytes as UTF-8 that is always valid (what is not becomes U+FFFD), without
// any control character that a terminal could take for a command.
void appendText(std::string& out, std::string_view bytes, Escapes escapes);

// How many columns of a terminal a text of appendText takes.
std::size_t columnsOf(std::string_view text);

// The shortest decimal text that reads back as the same value, in exponents only
// where Python's repr uses them; NaN, Infinity and -Infinity else.
void appendNumber(std::string& out, double value);

}  // namespace ZEB::tool
