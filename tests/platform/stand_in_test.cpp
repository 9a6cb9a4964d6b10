#include <sys/stat.h>

#include "EventFile.h"
#include "Fixture.h"
#include "util/FileCreator.h"

// What the stand-in promises beyond what the library needs of a platform.
namespace ZEB {

class StandIn : public Instrument {};

// The bytes themselves: all other tests write and read through these classes.
TEST_F(StandIn, HasTheBytesThatReadersElsewhereExpect) {
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
    char text[100];
    EXPECT_STREQ(measurement.GetDateText(text, sizeof text), "1969-12-31");
    EXPECT_STREQ(measurement.GetTimeText(text, sizeof text), "22:59:58.123456");
    EXPECT_EQ(measurement.asText(), "2\t4\thumidity=-2");
    EventMsg event(at, 1, 1, "door open");
    event.setText("shut");
    EXPECT_EQ(event.text(), "shut");
    Reply reply;
    ByteStream out(&reply);
    out << event.text() << ' ' << 12;
    ByteStream(&reply) << 'S';  // replaces a byte and shortens nothing
    EXPECT_EQ(contents(reply), "Shut 12");
    reply = {};  // frees bytes, which the next buffer may get
    EXPECT_EQ(contents(ByteBuf(7)), std::string(7, '\0'));
}

TEST_F(StandIn, LeavesAStreamAloneThatHasFailed) {
    std::stringbuf bytes(wire(event(1)));
    for (std::streambuf* const buffer : std::vector<std::streambuf*>{nullptr, &bytes}) {
        std::iostream stream(buffer);
        stream.setstate(std::ios::failbit);
        EventMsg record = event(2);
        record.serialize(stream);
        record.deserialize(stream);
        EXPECT_FALSE(record.isValid() || stream);
    }
    EXPECT_EQ(bytes.str(), wire(event(1)));
}

TEST_F(StandIn, ReplacesWhatItCanAndLeavesNothingOver) {
    FileCreator creator(".Nxt", data.c_str(), 1 << 20);
    write(data / "old", "text");
    fs::create_symlink(data / "circle", data / "circle");
    fs::create_directory(data / "directory");
    fs::current_path(data);
    for (char const* name : {"new", "old", "circle"}) {
        EXPECT_TRUE(creator.GetNewFile(name));
        struct stat status {};
        ASSERT_EQ(lstat(name, &status), 0);
        EXPECT_EQ(status.st_mode, S_IFREG | 0600U);
        EXPECT_EQ(status.st_size, 1 << 20);
        EXPECT_GE(status.st_blocks * 512, 1 << 20);
    }
    EXPECT_FALSE(creator.GetNewFile((data / "directory").c_str()));
    EXPECT_EQ(std::distance(fs::directory_iterator(data), {}), 4);
}

TEST_F(StandIn, FlushesARestoredSetting) {
    std::string const text(5000, 'x');
    write(root / "backup/settings/setting", text);
    EXPECT_TRUE(GetBackupSetting("setting"));
    EXPECT_EQ(contents(settings / "setting"), text);
    EXPECT_EQ(flushedSize, 5000);  // or a power cut could leave it short
}

TEST_F(StandIn, RefusesDirectoriesThatWouldNotDoAsFormats) {
    char path[100];
    for (std::size_t length : {94U, 95U}) {
        useRoot(std::string(length, 'r'));
        EXPECT_EQ(messagesOf([&] { VEKDataFile("", path, sizeof path); }).empty(), length == 94);
        EXPECT_STREQ(path,
                     length == 94 ? (std::string(94, 'r') + "/data").c_str() : "/dev/null/data");
    }
    setenv("VEK_ROOT", (root / "100%").c_str(), 1);
    std::string const messages = messagesOf([] { EXPECT_FALSE(EventFile(0).addRecord(event(1))); });
    EXPECT_NE(messages.find("'%' in its path"), std::string::npos);
    EXPECT_NE(messages.find("Failed to stat /dev/null/data\n"), std::string::npos);
    unsetenv("VEK_ROOT");
    EXPECT_EQ(askedOf(VEKDataFile), "./vek/data");
}

}  // namespace ZEB
