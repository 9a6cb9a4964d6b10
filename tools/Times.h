#pragma once

#include <cstdint>
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

// An ISO time in UTC, from a mere date on: 2026-01-31, 2026-01-31T12:30,
// 2026-01-31T12:30:59, with or without a Z, a blank in place of the T.
std::optional<std::int64_t> parseTime(std::string const& text);

std::string timeText(TimeStamp const& time);

}  // namespace ZEB::tool
