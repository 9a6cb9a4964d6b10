#include "msgclasses/EventMsg.h"

#include <algorithm>
#include <cstring>

namespace ZEB {

EventMsg::EventMsg(TimeStamp const& time, std::uint16_t code, std::uint16_t severity,
                   std::string const& text, GpsLocation const& location) {
    setTimeStamp(time);
    setCode(code);
    setSeverity(severity);
    setText(text);
    setLocation(location);
}

GpsLocation EventMsg::location() const {
    return {get<Latitude>(), get<Longitude>(), get<Altitude>()};
}

void EventMsg::setLocation(GpsLocation const& location) {
    set<Latitude>(location.latitude);
    set<Longitude>(location.longitude);
    set<Altitude>(location.altitude);
}

std::string EventMsg::text() const {
    char const* const begin = bytes(TextOffset);
    return {begin, std::find(begin, begin + TextSize, '\0')};
}

void EventMsg::setText(std::string const& text) {
    std::memset(bytes(TextOffset), 0, TextSize);
    std::memcpy(bytes(TextOffset), text.data(), std::min(text.size(), TextSize));
}

}  // namespace ZEB
