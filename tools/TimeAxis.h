#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ZEB::tool {

struct Tick {
    std::int64_t seconds;  // since 1970
    std::string time;      // empty where days, months or years are told apart
    std::string date;      // empty where it is that of the tick before
};

// At most so many ticks from one time to another, on round times, in UTC.
std::vector<Tick> timeTicks(std::int64_t from, std::int64_t to, std::size_t most);

}  // namespace ZEB::tool
