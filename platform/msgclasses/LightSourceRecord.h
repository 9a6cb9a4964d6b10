#pragma once

#include <cstdint>

#include "msgclasses/WireRecord.h"

namespace ZEB {

// Statistics of one lamp; 36 bytes serialised. Valid when its lamp kind is not
// 0, whatever its time.
class LightSourceRecord final : public WireRecord<36> {
  public:
    LightSourceRecord() {}
    LightSourceRecord(TimeStamp const& time, std::uint32_t lampKind, std::int32_t key,
                      std::uint64_t burningTime = 0, std::uint32_t ignitions = 0) {
        setTimeStamp(time);
        setLampKind(lampKind);
        setKey(key);
        setBurningTime(burningTime);
        setIgnitions(ignitions);
    }

    bool isValid() const { return lampKind() != 0; }
    std::uint32_t lampKind() const { return get<LampKind>(); }
    // The light-source key. It grows from record to record: the greatest is the newest.
    std::int32_t key() const { return get<Key>(); }
    std::uint64_t burningTime() const { return get<BurningTime>(); }  // milliseconds
    std::uint32_t ignitions() const { return get<Ignitions>(); }
    std::uint16_t client() const { return get<Client>(); }

    void setLampKind(std::uint32_t lampKind) { set<LampKind>(lampKind); }
    void setKey(std::int32_t key) { set<Key>(key); }
    void setBurningTime(std::uint64_t milliseconds) { set<BurningTime>(milliseconds); }
    void setIgnitions(std::uint32_t ignitions) { set<Ignitions>(ignitions); }
    void setClient(unsigned short client) { set<Client>(client); }

  private:
    using LampKind = WireField<std::uint32_t, TimeStampEnd>;
    using Key = WireField<std::int32_t, LampKind::End>;
    using BurningTime = WireField<std::uint64_t, Key::End>;
    using Ignitions = WireField<std::uint32_t, BurningTime::End>;
    using Client = WireField<std::uint16_t, Ignitions::End>;
    static_assert(Client::End == 36);
};

}  // namespace ZEB
