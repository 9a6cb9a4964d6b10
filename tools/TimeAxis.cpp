#include "TimeAxis.h"

#include <algorithm>
#include <ctime>

#include "Times.h"

namespace ZEB::tool {

namespace {

constexpr std::int64_t Day = 86400;
// From the thirtieth part of a day on, their multiples since 1970 are round times.
constexpr std::int64_t Steps[] = {1,     2,   5,       10,      15,      30,      60,    120,
                                  300,   600, 900,     1800,    3600,    7200,    10800, 21600,
                                  43200, Day, 2 * Day, 4 * Day, 7 * Day, 14 * Day};
constexpr int MonthSteps[] = {1, 2, 3, 6, 12, 24, 60, 120, 240, 600};

std::string text(std::int64_t seconds, char const* format) {
    std::tm const broken = utcTime(seconds);
    char result[64];
    return {result, std::strftime(result, sizeof result, format, &broken)};
}

std::int64_t roundedUp(std::int64_t number, std::int64_t step) {
    std::int64_t const rest = ((number % step) + step) % step;
    return rest == 0 ? number : number + step - rest;
}

std::vector<Tick> monthTicks(std::int64_t from, std::int64_t to, int months) {
    std::vector<Tick> ticks;
    std::tm const begin = utcTime(from);
    int const first =
        static_cast<int>(roundedUp(12 * (begin.tm_year + 1900) + begin.tm_mon, months));
    for (int month = first;; month += months) {
        std::tm broken{};
        broken.tm_year = month / 12 - 1900;
        broken.tm_mon = month % 12;
        broken.tm_mday = 1;
        std::int64_t const seconds = timegm(&broken);
        if (seconds > to) return ticks;
        if (seconds >= from)
            ticks.push_back({seconds, "", text(seconds, months < 12 ? "%Y-%m" : "%Y")});
    }
}

}  // namespace

std::vector<Tick> timeTicks(std::int64_t from, std::int64_t to, std::size_t most) {
    auto const fits = [&](std::int64_t step) {
        return (to - from) / step < static_cast<std::int64_t>(most);
    };
    auto const* const step = std::find_if(std::begin(Steps), std::end(Steps), fits);
    if (step == std::end(Steps)) {
        for (int const months : MonthSteps) {
            auto ticks = monthTicks(from, to, months);
            if (ticks.size() <= most) return ticks;
        }
        return {};
    }
    std::vector<Tick> ticks;
    std::string day;
    for (std::int64_t seconds = roundedUp(from, *step); seconds <= to; seconds += *step) {
        std::string const newDay = text(seconds, "%Y-%m-%d");
        std::string const time =
            *step < Day ? text(seconds, *step < 60 ? "%H:%M:%S" : "%H:%M") : "";
        ticks.push_back({seconds, time, newDay == day ? "" : newDay});
        day = newDay;
    }
    return ticks;
}

}  // namespace ZEB::tool
