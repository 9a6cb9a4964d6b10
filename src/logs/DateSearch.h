#pragma once

#include <algorithm>
#include <cstdint>

#include "logs/RingPosition.h"

namespace ZEB {

// The index that BasicMeasurementLog::dateToIndex promises, within held. timeOf(index) gives a
// record's time, in seconds and unsigned like the date.
template <class TimeOf>
int indexOfDate(HeldRange held, std::uint32_t date, TimeOf const& timeOf) {
    int low = held.first;
    int high = clampedToInt(held.end() - 1);
    while (low < high) {
        std::uint32_t const lowTime = timeOf(low);
        std::uint32_t const highTime = timeOf(high);
        if (lowTime >= date || lowTime == highTime) return low;
        if (highTime <= date) return high;
        int const middle = static_cast<int>(low + (std::int64_t{high} - low) / 2);
        if (date <= timeOf(middle)) {
            high = middle;
        } else {
            low = middle + 1;
        }
    }
    return low;
}

// The records between two dates: count of them, from the index first on.
struct DatedRun {
    std::int64_t first;
    std::int64_t count;
};

// After a pointer outside the ring a log may hold indices below 0, and more of them than it
// has slots: it gives no record twice.
template <class TimeOf>
DatedRun recordsBetween(std::uint32_t from, std::uint32_t to, HeldRange held, Ring ring,
                        TimeOf const& timeOf) {
    if (held.count <= 0) return {0, 0};
    std::int64_t const first = std::max(indexOfDate(held, from, timeOf), 0);
    std::int64_t const last = indexOfDate(held, to, timeOf);
    return {first, std::min<std::int64_t>(last - first + 1, ring.capacity())};
}

}  // namespace ZEB
