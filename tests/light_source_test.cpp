#include <dirent.h>
#include <sys/stat.h>

#include <ctime>

#include "BasicLightSourceLog.h"
#include "Fixture.h"

// Stands in for the system's: the library's flushes are counted, not made.
extern "C" [[gnu::visibility("default")]] void sync() { ++ZEB::syncs; }
extern "C" [[gnu::visibility("default")]] int fsync(int fd) {
    ++ZEB::fsyncs;
    struct stat status {};
    fstat(fd, &status);
    ZEB::flushedSize = status.st_size;
    return 0;
}

namespace ZEB {

using Range = std::pair<std::uint32_t, std::uint32_t>;
using Slots = std::vector<std::pair<int, LightSourceRecord>>;

constexpr int T = 1000;
constexpr std::uintmax_t Size = 36018;
std::string const Header = headerOf("LS", 36, T);

class LightSources : public Instrument {
  protected:
    void make(Slots const& slots, std::uintmax_t size = Size, std::string const& header = Header) {
        makeSlotFile(path, header, size, slots);
    }
    // Slots 0 to newest hold the latest round, the others the one before.
    Slots wrappedAt(int newest) const {
        Slots slots;
        for (int i = 0; i < T; ++i)
            slots.emplace_back(i, lamp(T - i, i <= newest ? 500 + i : i - T));
        return slots;
    }
    fs::path const path = settings / "lightsource_log.vek";
};

TEST_F(LightSources, AreFlushedAtEachWriteThatSucceeds) {
    int const dropped = cacheDrops;
    {
        LightSourceFile file(0);
        EXPECT_EQ(syncs, 1);
        EXPECT_EQ(contents(path), Header + std::string(Size - 18, '\0'));
        EXPECT_EQ(file.recentRecordIndex(), -1);
        EXPECT_FALSE(file.fileFull());
        EXPECT_TRUE(file.writeRecord(lamp(0, 5), T - 1));
        EXPECT_FALSE(file.fileFull());
        EXPECT_TRUE(file.writeRecord(lamp(1, 5), T - 1));
        EXPECT_TRUE(file.fileFull());
        EXPECT_EQ(syncs, 3);
        EXPECT_FALSE(file.writeRecord(lamp(1, 5), T));
        EXPECT_FALSE(file.writeRecord(lamp(1, 5), -1));
        file.closeFd();
        EXPECT_FALSE(file.writeRecord(lamp(1, 5), 1));
        EXPECT_EQ(syncs, 3);
    }
    EXPECT_EQ(cacheDrops - dropped, 3);  // before the rebuilding, closeFd, destruction
}

TEST_F(LightSources, ComeBackFromTheBackupOrThrow) {
    makeSlotFile<LightSourceRecord>(backupSettings(root) + "/lightsource_log.vek", Header, Size,
                                    {{0, lamp(4, 4)}});
    EXPECT_EQ(LightSourceFile(0).mFirstRecord.key(), 4);
    fs::remove(path);
    write(root / "foreign", "text");
    fs::create_symlink(root / "foreign", path);
    EXPECT_EQ(LightSourceFile(0).validRecordCount(), 0);
    EXPECT_EQ(contents(root / "foreign"), Header + std::string(Size - 18, '\0'));
    fs::remove(path);
    fs::create_directory(path);
    EXPECT_THROW(LightSourceFile(0), std::logic_error);
    fs::remove_all(settings);
    EXPECT_EQ(messagesOf([] {
                  try {
                      LightSourceFile file(0);
                      FAIL();
                  } catch (std::logic_error const& error) {
                      EXPECT_STREQ(error.what(), "No way to create LightSorce Log File");
                  }
              }),
              "");
}

TEST_F(LightSources, FindTheirPlaceByKeyAndLastSlot) {
    auto const start = [](int index, Range range) {
        BasicLightSourceLog log;
        EXPECT_EQ(rangeOf(log), range);
        EXPECT_TRUE(log.editRecord(lamp(9, 4711)));
        EXPECT_EQ(log.getRecord(static_cast<unsigned>(index)).key(), 4711);
    };
    start(0, {0, 0});
    make({{0, lamp(1, 1)}});
    start(0, {0, 0});
    make(wrappedAt(20));
    start(20, {21, T});
    make(wrappedAt(T - 1));
    start(T - 1, {0, T});
    Slots withoutFirst = wrappedAt(20);
    withoutFirst[0].second = {};
    make(withoutFirst);
    start(0, {1, T});
    Slots lastWithoutTime = wrappedAt(20);
    lastWithoutTime[T - 1].second = lamp(0, -1);
    make(lastWithoutTime);
    start(20, {0, 20});  // full to the search, not to the log
}

TEST_F(LightSources, TellWhereTheyAre) {
    char text[10];
    BasicLightSourceLog log;
    EXPECT_EQ(log.GetStorageDir(text, sizeof text), static_cast<int>(path.string().size()));
    EXPECT_EQ(text, path.string().substr(0, 9));
    EXPECT_EQ(log.GetStorageDir(nullptr, 0), static_cast<int>(path.string().size()));
}

TEST_F(LightSources, AnswerRangesAsAskedFor) {
    make({{0, lamp(1, 1)}, {T - 1, lamp(2, 0)}});
    BasicLightSourceLog log;
    unsigned first = 0;
    unsigned short client = 0;
    EXPECT_EQ(log.SetupGetLogRecordsRange(request(-5, 50, "\x01"), &first, &client), 50U);
    EXPECT_EQ(first, static_cast<unsigned>(-5));
    EXPECT_EQ(client, 1);
    EXPECT_EQ(log.SetupGetLogRecordsRange(request(0, -1), &first, &client), 0U);
    auto const replies = fetch(log, T - 2, T + 2);
    ASSERT_EQ(replies.size(), 2U);
    EXPECT_EQ(timesOf<LightSourceRecord>(replies[0]), (std::vector<int>{0, 2}));
    EXPECT_EQ(timesOf<LightSourceRecord>(replies[1]).size(), 1000U);
}

TEST_F(LightSources, AreArchivedByClearAndSurviveItsFailure) {
    setenv("TZ", "east-7", 1);
    make(wrappedAt(20));
    std::string const before = contents(path);
    BasicLightSourceLog log;
    std::string const messages = messagesOf([&] { log.Clear(); });
    std::string archive;
    for (auto const& entry : fs::directory_iterator(settings)) {
        if (entry.path() != path) archive = entry.path();
    }
    EXPECT_EQ(messages, shown(2, path.string() + " to " + archive));
    std::tm stamp{};
    EXPECT_STREQ(strptime(archive.c_str() + path.string().size(), "-%Y%m%d-%H%M%S", &stamp), "");
    EXPECT_NEAR(static_cast<double>(timegm(&stamp)), static_cast<double>(std::time(nullptr)), 60);
    EXPECT_EQ(contents(archive), before);
    EXPECT_EQ(contents(path), Header + std::string(Size - 18, '\0'));
    EXPECT_EQ(rangeOf(log), Range(0, 0));

    fs::remove_all(settings);
    EXPECT_THROW(log.Clear(), std::logic_error);
    EXPECT_FALSE(log.writeRecord(lamp(1, 1)));
    EXPECT_FALSE(log.getRecord(0).isValid());
    EXPECT_EQ(timesOf<LightSourceRecord>(fetch(log, 0, 2).at(0)), (std::vector<int>{0, 0}));
    log.close();
    EXPECT_THROW(log.Clear(), std::logic_error);
    log.newRecord(lamp(1, 1));
    EXPECT_EQ(rangeOf(log), Range(0, 1));
    fs::create_directory(settings);
    log.newRecord(lamp(2, 2));  // at the start of its new file, where a restart finds it
    EXPECT_EQ(rangeOf(log), Range(0, 1));
    EXPECT_EQ(LightSourceFile(0).mFirstRecord.key(), 2);
}

TEST_F(LightSources, EmptyTheirDirectoryWithoutLeavingIt) {
    BasicLightSourceLog log;
    log.clearSDCardLog();  // nothing there
    fs::path const stats = data / "LampStats";
    fs::create_directories(stats / "a/b");
    fs::create_directory(root / "elsewhere");
    for (fs::path const& file :
         {stats / "1", stats / "a/2", stats / "a/b/3", root / "elsewhere/4"}) {
        write(file, "x");
    }
    fs::create_directory_symlink(root / "elsewhere", stats / "link");
    log.clearSDCardLog();
    EXPECT_TRUE(fs::is_empty(stats));
    EXPECT_TRUE(fs::exists(root / "elsewhere/4"));
    dirent entry{};
    entry.d_type = DT_DIR;
    EXPECT_TRUE(IsDir(&entry));
    entry.d_type = DT_UNKNOWN;
    EXPECT_FALSE(IsDir(&entry));
}

}  // namespace ZEB
