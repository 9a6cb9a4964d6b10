#include "Kinds.h"

#include <cstdio>

#include "files/FileNames.h"

namespace ZEB::tool {

namespace {

template <typename... Arguments>
std::string formatted(char const* format, Arguments... arguments) {
    char text[100];
    return formatPath(text, format, arguments...) ? text : "";
}

// Scanning alone would take a name with something after it, too.
template <class Kind>
std::optional<FileName> ifExact(FileName const& found, std::string const& name) {
    if (found.index < 0 || Kind::format(found) != name) return std::nullopt;
    return found;
}

}  // namespace

std::optional<FileName> EventKind::parse(std::string const& name) {
    int major = 0;
    int minor = 0;
    int fix = 0;
    int index = 0;
    if (std::sscanf(name.c_str(), EventNameFormat, &major, &minor, &fix, &index) != 4) {
        return std::nullopt;
    }
    return ifExact<EventKind>({formatted("%d.%d.%d", major, minor, fix), index}, name);
}

std::string EventKind::format(FileName const& name) {
    int major = 0;
    int minor = 0;
    int fix = 0;
    std::sscanf(name.version.c_str(), "%d.%d.%d", &major, &minor, &fix);
    return formatted(EventNameFormat, major, minor, fix, name.index);
}

std::optional<FileName> LampKind::parse(std::string const& name) {
    return ifExact<LampKind>({}, name);
}

std::string LampKind::format(FileName const&) { return LightSourceName; }

std::optional<FileName> MeasurementKind::parse(std::string const& name) {
    int index = 0;
    if (std::sscanf(name.c_str(), MeasurementNameFormat, &index) != 1) return std::nullopt;
    return ifExact<MeasurementKind>({{}, index}, name);
}

std::string MeasurementKind::format(FileName const& name) {
    return formatted(MeasurementNameFormat, name.index);
}

}  // namespace ZEB::tool
