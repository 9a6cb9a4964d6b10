#include "Quantities.h"

#include "Values.h"

namespace ZEB::tool {

namespace {

constexpr double MillisecondsOfHour = 3600e3;

}  // namespace

void addTo(Curves& curves, EventMsg const& record) {
    curves.add(record.severity(), record.timeStamp().seconds(), 1);
}

void addTo(Curves& curves, LightSourceRecord const& record) {
    std::uint64_t const curve = std::uint64_t{record.lampKind()} << 1;
    std::int32_t const seconds = record.timeStamp().seconds();
    curves.add(curve, seconds, static_cast<double>(record.burningTime()) / MillisecondsOfHour);
    curves.add(curve | 1, seconds, record.ignitions());
}

void addTo(Curves& curves, MeasurementRecord const& record) {
    std::uint64_t const channel = std::uint64_t{record.channel()} << 16;
    std::int32_t const seconds = record.timeStamp().seconds();
    forEachValue(record, [&](ValueKind kind, double value) {
        curves.add(channel | static_cast<std::uint16_t>(kind), seconds, value);
    });
}

template <>
CurveName nameOf<EventKind>(std::uint64_t curve) {
    return {curve == OtherSeverities ? "other severities" : "severity " + std::to_string(curve),
            ""};
}

template <>
CurveName nameOf<LampKind>(std::uint64_t curve) {
    return {"lamp " + std::to_string(curve >> 1), (curve & 1) == 0 ? "burning hours" : "ignitions"};
}

template <>
CurveName nameOf<MeasurementKind>(std::uint64_t curve) {
    return {"channel " + std::to_string(curve >> 16),
            kindName(static_cast<ValueKind>(curve & 0xffff))};
}

}  // namespace ZEB::tool
