#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "msgclasses/GpsLocation.h"
#include "msgclasses/WireRecord.h"

namespace ZEB {

// An instrument event; 62 bytes serialised. Valid when its code is not 0,
// whatever its time.
class EventMsg final : public WireRecord<62> {
  public:
    static constexpr std::size_t TextSize = 30;  // bytes; longer texts are cut

    EventMsg() = default;
    EventMsg(TimeStamp const& time, std::uint16_t code, std::uint16_t severity,
             std::string const& text, GpsLocation const& location = {});

    bool isValid() const { return code() != 0; }
    std::uint16_t code() const { return get<std::uint16_t>(14); }
    std::uint16_t severity() const { return get<std::uint16_t>(16); }
    std::uint16_t client() const { return get<std::uint16_t>(18); }
    GpsLocation location() const;
    std::string text() const;

    void setCode(std::uint16_t code) { set(14, code); }
    void setSeverity(std::uint16_t severity) { set(16, severity); }
    void setClient(unsigned short client) { set(18, client); }
    void setLocation(GpsLocation const& location);
    void setText(std::string const& text);
};

}  // namespace ZEB
