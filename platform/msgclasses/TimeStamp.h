#pragma once

#include <cstdint>

namespace ZEB {

// When a record was made. Comes first in every serialised record, 14 bytes.
class TimeStamp {
  public:
    TimeStamp() = default;
    // seconds: since 1970-01-01 UTC; microseconds: 0 to 999999;
    // uptime: seconds since power-on; utcOffset: minutes east of UTC.
    explicit TimeStamp(std::int32_t seconds, std::uint32_t microseconds = 0,
                       std::uint32_t uptime = 0, std::int16_t utcOffset = 0)
        : mSeconds(seconds), mMicroseconds(microseconds), mUptime(uptime), mUtcOffset(utcOffset) {}

    std::int32_t seconds() const { return mSeconds; }
    std::uint32_t microseconds() const { return mMicroseconds; }
    std::uint32_t uptime() const { return mUptime; }
    std::int16_t utcOffset() const { return mUtcOffset; }

  private:
    std::int32_t mSeconds = 0;
    std::uint32_t mMicroseconds = 0;
    std::uint32_t mUptime = 0;
    std::int16_t mUtcOffset = 0;
};

}  // namespace ZEB
