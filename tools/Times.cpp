#include "Times.h"

#include <cstdio>
#include <ctime>

namespace ZEB::tool {

namespace {

std::tm brokenDown(std::int64_t seconds) {
    std::time_t const time{seconds};
    std::tm broken{};
    gmtime_r(&time, &broken);
    return broken;
}

}  // namespace

std::optional<std::int64_t> parseTime(std::string const& text) {
    for (char const* format : {"%Y-%m-%dT%H:%M:%S", "%Y-%m-%dT%H:%M", "%Y-%m-%d %H:%M:%S",
                               "%Y-%m-%d %H:%M", "%Y-%m-%d"}) {
        std::tm broken{};
        char const* const end = strptime(text.c_str(), format, &broken);
        if (end == nullptr || (*end != '\0' && std::string(end) != "Z")) continue;
        int const day = broken.tm_mday;
        std::int64_t const seconds = timegm(&broken);
        // A 31st of February would silently be one of March.
        if (broken.tm_mday == day) return seconds;
    }
    return std::nullopt;
}

std::string timeText(TimeStamp const& time) {
    std::tm const broken = brokenDown(time.seconds());
    char date[32];
    std::strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S", &broken);
    char text[64];
    std::snprintf(text, sizeof text, "%s.%06uZ", date, unsigned{time.microseconds()});
    return text;
}

}  // namespace ZEB::tool
