#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "Curves.h"
#include "Kinds.h"
#include "Values.h"

namespace ZEB::tool {

// The curves that the records of a log draw: how many events of each severity, the
// statistics of each lamp, the values of each channel and kind.
inline void addTo(Curves& curves, EventMsg const& record) { curves.add(record.severity(), 1); }

inline void addTo(Curves& curves, LightSourceRecord const& record) {
    constexpr double MillisecondsOfHour = 3600e3;
    std::uint64_t const curve = std::uint64_t{record.lampKind()} << 1;
    curves.add(curve, static_cast<double>(record.burningTime()) / MillisecondsOfHour);
    curves.add(curve | 1, record.ignitions());
}

inline std::uint64_t curveOf(std::uint16_t channel, ValueKind kind) {
    return std::uint64_t{channel} << 16 | static_cast<std::uint16_t>(kind);
}

// Where random bytes make too many curves.
void addToMany(Curves& curves, MeasurementRecord const& record);

inline void addTo(Curves& curves, MeasurementRecord const& record) {
    if (!curves.isComplete()) {
        addToMany(curves, record);
        return;
    }
    std::uint16_t const channel = record.channel();
    forEachValue(record,
                 [&](ValueKind kind, double value) { curves.take(curveOf(channel, kind), value); });
}

// What a log's records show, gathered record by record.
struct Gathered {
    Curves curves;
    std::uint64_t records = 0;
    std::int32_t first = std::numeric_limits<std::int32_t>::max();  // seconds since 1970
    std::int32_t last = std::numeric_limits<std::int32_t>::min();

    template <class Record>
    void add(Record const& record) {
        ++records;
        std::int32_t const seconds = record.timeStamp().seconds();
        first = std::min(first, seconds);
        last = std::max(last, seconds);
        curves.turnTo(seconds);
        addTo(curves, record);
    }
};

struct CurveName {
    std::string source;  // "lamp 2"
    std::string quantity;

    std::string whole() const { return quantity.empty() ? source : source + ' ' + quantity; }
    bool matches(std::string const& name) const { return name == quantity || name == whole(); }
};

template <class Kind>
CurveName nameOf(std::uint64_t curve);
template <>
CurveName nameOf<EventKind>(std::uint64_t curve);
template <>
CurveName nameOf<LampKind>(std::uint64_t curve);
template <>
CurveName nameOf<MeasurementKind>(std::uint64_t curve);

// Nobody can read more curves than these.
constexpr std::size_t MostPanels = 24;
constexpr std::size_t MostSeverities = 8;
constexpr std::uint64_t OtherSeverities = 1 << 16;

// The curves from one on, "channel 3 temperature, channel 3 load"; of very many, how
// many more there are.
template <class Kind>
std::string namesOf(std::vector<Curve> const& curves, std::size_t from) {
    constexpr std::size_t Most = 100;
    std::string names;
    std::size_t const end = std::min(curves.size(), from + Most);
    for (std::size_t i = from; i < end; ++i) {
        names += (i > from ? ", " : "") + nameOf<Kind>(curves[i].name).whole();
    }
    if (end < curves.size()) names += " and " + std::to_string(curves.size() - end) + " more";
    return names;
}

}  // namespace ZEB::tool
