#include "Quantities.h"

namespace ZEB::tool {

namespace {

// Without a branch for each value: hardly any is kept.
bool mayKeepAny(Curves const& curves, MeasurementRecord const& record) {
    bool any = false;
    for (std::size_t i = 0; i < MeasurementRecord::MaxValues; ++i) {
        any |= curves.mayBeKept(curveOf(record.channel(), record.kind(i)));
    }
    return any;
}

}  // namespace

void addToMany(Curves& curves, MeasurementRecord const& record) {
    if (curves.isChoosing() && !mayKeepAny(curves, record)) return;
    forEachValue(record, [&](ValueKind kind, double value) {
        curves.add(curveOf(record.channel(), kind), value);
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
