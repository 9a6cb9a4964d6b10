#include "Times.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace ZEB::tool {

namespace {

constexpr std::int64_t DaySeconds = 86400;

std::optional<std::int64_t> wholeNumber(std::string const& text, std::size_t from, std::size_t to) {
    std::int64_t number = 0;
    char const* const end = text.data() + to;
    auto const read = std::from_chars(text.data() + from, end, number);
    return read.ec == std::errc() && read.ptr == end ? std::optional(number) : std::nullopt;
}

// "-2d": so much before now.
std::optional<std::int64_t> parseAge(std::string const& text, std::int64_t now) {
    constexpr std::pair<char, std::int64_t> Units[] = {
        {'s', 1}, {'m', 60}, {'h', 3600}, {'d', DaySeconds}, {'w', 7 * DaySeconds}};
    if (text.size() < 3 || text[0] != '-') return std::nullopt;
    auto const number = wholeNumber(text, 1, text.size() - 1);
    constexpr std::int64_t Most = 1000000;  // no product overflows
    if (!number || *number < 0 || *number > Most) return std::nullopt;
    for (auto const& [name, seconds] : Units) {
        if (text.back() == name) return now - *number * seconds;
    }
    return std::nullopt;
}

std::optional<std::int64_t> parseIso(std::string const& text) {
    for (char const* format : {"%Y-%m-%dT%H:%M:%S", "%Y-%m-%dT%H:%M", "%Y-%m-%d %H:%M:%S",
                               "%Y-%m-%d %H:%M", "%Y-%m-%d"}) {
        std::tm broken{};
        char const* end = strptime(text.c_str(), format, &broken);
        if (end == nullptr) continue;
        bool const hasSeconds = format[std::strlen(format) - 1] == 'S';
        if (hasSeconds && *end == '.') end += 1 + std::strspn(end + 1, "0123456789");
        std::tm offset{};
        if (*end != '\0') end = strptime(end, "%z", &offset);
        if (end == nullptr || *end != '\0') continue;
        int const day = broken.tm_mday;
        std::int64_t const seconds = timegm(&broken);
        // A 31st of February would silently be one of March.
        if (broken.tm_mday == day) return seconds - offset.tm_gmtoff;
    }
    return std::nullopt;
}

}  // namespace

std::tm utcTime(std::int64_t seconds) {
    std::time_t const time{seconds};
    std::tm broken{};
    gmtime_r(&time, &broken);
    return broken;
}

std::optional<std::int64_t> parseTime(std::string const& text) {
    std::int64_t const now = std::time(nullptr);
    std::int64_t const today = now - now % DaySeconds;
    if (text == "now") return now;
    if (text == "today") return today;
    if (text == "yesterday") return today - DaySeconds;
    if (text[0] == '@') return wholeNumber(text, 1, text.size());
    if (text[0] == '-') return parseAge(text, now);
    return parseIso(text);
}

std::string timeText(TimeStamp const& time, Zone zone) {
    int const offset = zone == Zone::Record ? time.utcOffset() : 0;
    std::tm const broken = utcTime(time.seconds() + std::int64_t{60} * offset);
    char date[32];
    std::strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S", &broken);
    char text[64];
    std::snprintf(text, sizeof text, "%s.%06uZ", date,
                  unsigned{std::min(time.microseconds(), MaxMicroseconds)});
    if (zone == Zone::Utc) return text;
    std::string local = text;
    std::snprintf(text, sizeof text, "%c%02d:%02d", offset < 0 ? '-' : '+', std::abs(offset) / 60,
                  std::abs(offset) % 60);
    local.replace(local.size() - 1, 1, text);
    return local;
}

}  // namespace ZEB::tool
