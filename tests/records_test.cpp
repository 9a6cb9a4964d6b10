#include "Fixture.h"

namespace ZEB {

// Seconds, microseconds, uptime, offset: 14 bytes, as in the format's tables.
char const Time[] = "\xfe\xff\xff\xff\x40\xe2\x01\x00\x07\x00\x00\x00\xc4\xff";
TimeStamp const At(-2, 123456, 7, -60);

std::string bytes(char const* text, std::size_t size) { return {text, size}; }

TEST(Records, HaveTheBytesThatReadersElsewhereExpect) {
    EventMsg event(At, 0x1234, 3, "door open", {-1, 2, 3});
    event.setClient(0x0506);
    EXPECT_EQ(wire(event),
              bytes(Time, 14) +
                  bytes("\x34\x12\x03\0\x06\x05\xff\xff\xff\xff\x02\0\0\0\x03\0\0\0", 18) +
                  "door open" + std::string(21, '\0'));

    LightSourceRecord lamp(At, 9, -5, 0x0102030405060708, 10);
    lamp.setClient(0xabcd);
    EXPECT_EQ(wire(lamp), bytes(Time, 14) + bytes("\x09\0\0\0\xfb\xff\xff\xff", 8) +
                              bytes("\x08\x07\x06\x05\x04\x03\x02\x01\x0a\0\0\0\xcd\xab", 14));

    MeasurementRecord measurement(At, 2, 4);
    measurement.setClient(110);
    measurement.setValue(8, MeasurementRecord::ValueKind::Humidity, -2.0);
    EXPECT_EQ(wire(measurement), bytes(Time, 14) + bytes("\x02\0\x6e\0\x04\0", 6) +
                                     std::string(80, '\0') + bytes("\x07\0\0\0\0\0\0\0\0\xc0", 10));
    EXPECT_EQ(measurement.asText(), "2\t4\thumidity=-2");
    char text[100];
    EXPECT_STREQ(measurement.GetDateText(text, sizeof text), "1969-12-31");
    EXPECT_STREQ(measurement.GetTimeText(text, sizeof text), "22:59:58.123456");
}

}  // namespace ZEB
