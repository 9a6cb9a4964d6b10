#include <fcntl.h>

#include <climits>
#include <mutex>
#include <thread>

#include "Fixture.h"
#include "util/FileCreator.h"
#include "util/Mutex.h"
#include "util/StackMem.h"
#include "util/VEKLog.h"

// What the library needs of the platform it stands on, whatever SDK that is.
namespace ZEB {

class Platform : public Instrument {
  protected:
    template <class Record>
    static Record readFrom(std::string const& bytes) {
        std::istringstream in(bytes);
        Record record;
        record.deserialize(in);
        return record;
    }
    template <class Record>
    static void expectNone(std::size_t size) {
        for (Record const& record : {Record(), readFrom<Record>(std::string(size, '\0'))}) {
            EXPECT_FALSE(record.isValid());
            EXPECT_EQ(record.timeStamp().seconds(), 0);
        }
    }
    // The record of that time, in a slot of that size.
    template <class Record>
    static void expectBack(Record record, int time, std::size_t size) {
        std::string const bytes = wire(record);
        ASSERT_LE(bytes.size(), size);
        std::istringstream in(bytes + std::string(size - bytes.size(), '\0') + "next slot");
        Record read;
        read.deserialize(in);
        EXPECT_LE(in.tellg(), static_cast<std::streamoff>(size));
        Record const copy = read;
        EXPECT_EQ(wire(copy), bytes);
        EXPECT_TRUE(copy.isValid());
        EXPECT_EQ(copy.timeStamp().seconds(), time);

        record.setClient(0x1234);
        ByteBuf buffer(size);
        ByteStream out(&buffer);
        out << record;
        EXPECT_EQ(contents(buffer).substr(0, bytes.size()), wire(record));
    }
};

TEST_F(Platform, TakesZeroBytesForNoRecord) {
    expectNone<EventMsg>(62);
    expectNone<LightSourceRecord>(36);
    expectNone<MeasurementRecord>(110);
}

TEST_F(Platform, BringsRecordsBackFromTheirSlots) {
    for (int const number : {1, 1795550000, 0, -1, INT_MAX, INT_MIN}) {
        expectBack(event(number), number, 62);
        expectBack(lamp(5, number), 5, 36);
        expectBack(measurement(number), number, 110);
        std::string const bytes = wire(lamp(5, number)) + std::string(36, '\0');
        EXPECT_EQ(readFrom<LightSourceRecord>(bytes).key(), number);
    }
}

TEST_F(Platform, HoldsBytesAndStreamsThem) {
    std::string const bytes("a\0\n\xff\r\n\x1a z", 9);
    ByteBuf given(bytes.data(), bytes.size());
    EXPECT_EQ(contents(given), bytes);
    EXPECT_EQ(contents(request(bytes).toByteBufType()), bytes);
    ByteStream in(&given);
    char read[10];
    EXPECT_TRUE(in.read(read, 4));
    EXPECT_EQ(in.readsome(read + 4, 2), 2);
    EXPECT_EQ(in.readsome(read + 6, 4), 3);
    EXPECT_EQ(std::string(read, 9), bytes);
    ByteStream tooShort(&given);
    EXPECT_FALSE(tooShort.read(read, 10));  // and throws nothing

    Reply reply;
    ByteStream out(&reply);
    for (int i = 0; i < 5000; ++i) out.write(bytes.data(), 9);
    std::string const all = contents(reply);
    EXPECT_EQ(all.size(), 45000U);
    EXPECT_EQ(all.substr(44991), bytes);
}

TEST_F(Platform, LocksLendsScratchAndTakesMessages) {
    Mutex mutex;
    int volatile count = 0;
    auto const add = [&] {
        for (int i = 0; i < 100000; ++i) {
            std::lock_guard<Mutex> const lock(mutex);
            count = count + 1;
        }
    };
    std::thread other(add);
    add();
    other.join();
    EXPECT_EQ(count, 200000);
    StackMem scratch(4096);
    EXPECT_GE(scratch.Size(), 4096U);
    std::memset(scratch.Str(), 'x', scratch.Size());
    VEKLogMsg(1, "%s (%d)", std::string(9000, 'x').c_str(), 1);
}

TEST_F(Platform, NamesPathsThatServeAsFormats) {
    EXPECT_LT((data / "measurement_log399.vek").string().size(), 100U);  // or it can't be opened
    for (auto* const function : {VEKDataFile, VEKSettingsFile, VEKBackupDataFile}) {
        fs::path const directory = askedOf(function);
        EXPECT_EQ(directory.string().find('%'), std::string::npos);
        EXPECT_EQ(askedOf(function, "log-%d-%d#%d.vek"), directory / "log-%d-%d#%d.vek");
    }
}

TEST_F(Platform, BringsSettingsBack) {
    char const* const name = "lightsource_log.vek";
    std::uint16_t records = 1000;
    EXPECT_EQ(SettingsFileExist(name, &records, 1000), 0);
    GetBackupSetting(name);
    EXPECT_FALSE(fs::exists(settings / name));
    fs::path const saved = fs::path(backupSettings(root)) / name;
    write(saved, std::string(36018, 'x'));
    fs::permissions(saved, fs::perms::owner_read);
    GetBackupSetting(name);
    EXPECT_NE(SettingsFileExist(name, &records, 1000), 0);
    EXPECT_EQ(contents(settings / name), contents(saved));
    auto const writable = fs::status(settings / name).permissions() & fs::perms::owner_write;
    EXPECT_NE(writable, fs::perms::none);
}

TEST_F(Platform, MakesFilesOfZerosWhereverAsked) {
    FileCreator creator(".NxtEventLogFile", data.c_str(), 4030018);
    for (fs::path const& path : {data / "1", data / "2", settings / "3"}) {
        ASSERT_TRUE(creator.GetNewFile(path.c_str()));
        std::string const bytes = contents(path);
        EXPECT_GE(bytes.size(), 4030018U);
        EXPECT_EQ(bytes.find_first_not_of('\0'), std::string::npos);
        EXPECT_EQ(access(path.c_str(), R_OK | W_OK), 0);
    }
    EXPECT_FALSE(creator.GetNewFile((root / "none/4").c_str()));
}

}  // namespace ZEB
