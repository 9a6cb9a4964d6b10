#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "msgclasses/GpsLocation.h"
#include "msgclasses/TimeStamp.h"
#include "msgclasses/WireRecord.h"

namespace ZEB {

// An instrument event; 62 bytes serialised. Valid when its code is not 0,
// whatever its time.
class EventMsg final : public WireRecord<62> {
  public:
    static constexpr std::size_t TextSize = 30;  // bytes; longer texts are cut

    EventMsg() {}
    EventMsg(TimeStamp const& time, std::uint16_t code, std::uint16_t severity,
             std::string const& text, GpsLocation const& location = {});

    bool isValid() const { return code() != 0; }
    std::uint16_t code() const { return get<Code>(); }
    std::uint16_t severity() const { return get<Severity>(); }
    std::uint16_t client() const { return get<Client>(); }
    GpsLocation location() const;
    std::string text() const;

    void setCode(std::uint16_t code) { set<Code>(code); }
    void setSeverity(std::uint16_t severity) { set<Severity>(severity); }
    void setClient(unsigned short client) { set<Client>(client); }
    void setLocation(GpsLocation const& location);
    void setText(std::string const& text);

  private:
    using Code = WireField<std::uint16_t, TimeStampEnd>;
    using Severity = WireField<std::uint16_t, Code::End>;
    using Client = WireField<std::uint16_t, Severity::End>;
    using Latitude = WireField<std::int32_t, Client::End>;
    using Longitude = WireField<std::int32_t, Latitude::End>;
    using Altitude = WireField<std::int32_t, Longitude::End>;
    static constexpr std::size_t TextOffset = Altitude::End;
    static_assert(TextOffset + TextSize == 62);
};

}  // namespace ZEB
