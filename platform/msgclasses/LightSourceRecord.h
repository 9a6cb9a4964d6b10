#pragma once

#include <cstdint>

#include "msgclasses/WireRecord.h"

namespace ZEB {

// Statistics of one lamp; 36 bytes serialised. Valid when its lamp kind is not
// 0, whatever its time.
class LightSourceRecord final : public WireRecord<36> {
  public:
    LightSourceRecord() = default;
    LightSourceRecord(TimeStamp const& time, std::uint32_t lampKind, std::int32_t key,
                      std::uint64_t burningTime = 0, std::uint32_t ignitions = 0) {
        setTimeStamp(time);
        setLampKind(lampKind);
        setKey(key);
        setBurningTime(burningTime);
        setIgnitions(ignitions);
    }

    bool isValid() const { return lampKind() != 0; }
    std::uint32_t lampKind() const { return get<std::uint32_t>(14); }
    // The light-source key: grows from record to record; the greatest is the newest.
    std::int32_t key() const { return get<std::int32_t>(18); }
    std::uint64_t burningTime() const { return get<std::uint64_t>(22); }  // milliseconds
    std::uint32_t ignitions() const { return get<std::uint32_t>(30); }
    std::uint16_t client() const { return get<std::uint16_t>(34); }

    void setLampKind(std::uint32_t lampKind) { set(14, lampKind); }
    void setKey(std::int32_t key) { set(18, key); }
    void setBurningTime(std::uint64_t milliseconds) { set(22, milliseconds); }
    void setIgnitions(std::uint32_t ignitions) { set(30, ignitions); }
    void setClient(unsigned short client) { set(34, client); }
};

}  // namespace ZEB
