#pragma once

#include <cstdint>

namespace ZEB {

// Where the instrument stood: latitude and longitude in 1e-7 degrees (north and
// east positive), altitude in millimetres above the ellipsoid.
struct GpsLocation {
    std::int32_t latitude = 0;
    std::int32_t longitude = 0;
    std::int32_t altitude = 0;
};

}  // namespace ZEB
