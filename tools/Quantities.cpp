#include "Quantities.h"

namespace ZEB::tool {

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
