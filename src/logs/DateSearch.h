#pragma once

#include <cstdint>

#include "logs/RingPosition.h"

namespace ZEB {

// The index within held of a record at the date, or else of the first one after it. Where
// all are before it: the last index, or the first if their times are all equal.
// timeOf(index) gives a record's time, in seconds and unsigned like the date.
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

}  // namespace ZEB
