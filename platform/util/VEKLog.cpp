#include "util/VEKLog.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace ZEB {

void VEKLogMsg(int level, char const* format, ...) {
    char const* const shown = std::getenv("VEK_LOG_LEVEL");
    if (level > (shown != nullptr ? std::atoi(shown) : 1)) return;
    char text[8192];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    std::fprintf(stderr, "[%d] %s\n", level, text);
}

}  // namespace ZEB
