#pragma once

#include <cstdint>
#include <ctime>
#include <limits>
#include <optional>
#include <string>

#include "msgclasses/TimeStamp.h"

namespace ZEB::tool {

// Seconds since 1970, both ends included.
struct Period {
    std::int64_t since = std::numeric_limits<std::int64_t>::min();
    std::int64_t until = std::numeric_limits<std::int64_t>::max();

    bool contains(std::int64_t seconds) const { return since <= seconds && seconds <= until; }
};

// Of seconds since 1970, the date and the time of day.
std::tm utcTime(std::int64_t seconds);

// How parseTime's texts are explained to whoever types them.
constexpr char const* TimeExamples =
    "2026-01-31, 2026-01-31T12:30:59 (UTC) or with an offset such as +01:00, @1795550000, -2d, "
    "today or yesterday";

// Seconds since 1970, from
// - an ISO time, from a mere date on: 2026-01-31, 2026-01-31T12:30, 2026-01-31 12:30:59.25,
//   in UTC or with an offset after it (Z, +01:00, +0100); fractions are cut;
// - @1795550000;
// - a time before now: -90s, -30m, -1h, -2d, -1w;
// - now; today and yesterday, which begin at midnight UTC.
std::optional<std::int64_t> parseTime(std::string const& text);

constexpr std::uint32_t MaxMicroseconds = 999999;

enum class Zone { Utc, Record };

// With an offset: Z, or the record's own. A fraction that is none (microseconds
// above 999999) becomes the greatest there is.
std::string timeText(TimeStamp const& time, Zone zone = Zone::Utc);

}  // namespace ZEB::tool
