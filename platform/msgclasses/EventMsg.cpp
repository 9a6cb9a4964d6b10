#include "msgclasses/EventMsg.h"

#include <algorithm>
#include <cstring>

namespace ZEB {

namespace {
constexpr std::size_t LocationOffset = 20;
constexpr std::size_t TextOffset = 32;
}  // namespace

EventMsg::EventMsg(TimeStamp const& time, std::uint16_t code, std::uint16_t severity,
                   std::string const& text, GpsLocation const& location) {
    setTimeStamp(time);
    setCode(code);
    setSeverity(severity);
    setText(text);
    setLocation(location);
}

GpsLocation EventMsg::location() const {
    return {get<std::int32_t>(LocationOffset), get<std::int32_t>(LocationOffset + 4),
            get<std::int32_t>(LocationOffset + 8)};
}

void EventMsg::setLocation(GpsLocation const& location) {
    set(LocationOffset, location.latitude);
    set(LocationOffset + 4, location.longitude);
    set(LocationOffset + 8, location.altitude);
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
