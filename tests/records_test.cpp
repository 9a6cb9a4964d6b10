#include "Fixture.h"

namespace ZEB {

// What no other test writes and then reads without these classes.
TEST(Records, HaveTheBytesThatReadersElsewhereExpect) {
    auto const bytes = [](char const* text, std::size_t size) { return std::string(text, size); };
    // Seconds, microseconds, uptime, offset, as in the format's tables.
    std::string const time = bytes("\xfe\xff\xff\xff\x40\xe2\x01\0\x07\0\0\0\xc4\xff", 14);
    TimeStamp const at(-2, 123456, 7, -60);
    EXPECT_EQ(wire(EventMsg(at, 0x1234, 3, "door open", {-1, 2, 3})),
              time + bytes("\x34\x12\x03\0\0\0\xff\xff\xff\xff\x02\0\0\0\x03\0\0\0", 18) +
                  "door open" + std::string(21, '\0'));
    MeasurementRecord measurement(at, 2, 4);
    measurement.setValue(8, MeasurementRecord::ValueKind::Humidity, -2.0);
    EXPECT_EQ(wire(measurement), time + bytes("\x02\0\0\0\x04\0", 6) + std::string(80, '\0') +
                                     bytes("\x07\0\0\0\0\0\0\0\0\xc0", 10));
}

}  // namespace ZEB
