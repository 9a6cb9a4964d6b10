#include <sys/stat.h>

#include <cerrno>
#include <map>
#include <type_traits>

#include "EventFile.h"
#include "Fixture.h"
#include "LightSourceFile.h"
#include "MeasurementFile.h"

namespace ZEB {

// What the three file classes promise alike.
template <class SlotFile>
class SlotFiles : public Instrument {
  protected:
    using File = SlotFile;
    using Record = decltype(File::mFirstRecord);
    static constexpr bool Events = std::is_same_v<File, EventFile>;
    static constexpr bool Lamps = std::is_same_v<File, LightSourceFile>;

    SlotFiles() { File::Init(); }

    static Record record(int time) {
        if constexpr (Events) return event(time);
        if constexpr (Lamps) return lamp(time, time);
        if constexpr (!Events && !Lamps) return measurement(time);
    }
    void make(std::map<int, int> const& timesBySlot) const {
        std::vector<std::pair<int, Record>> slots;
        slots.reserve(timesBySlot.size());
        for (auto const& [slot, time] : timesBySlot) slots.emplace_back(slot, record(time));
        std::string const kind = Events ? "EL" : Lamps ? "LS" : "ML";
        makeSlotFile(path, headerOf(kind, File::RecordSize, File::getRecordCount()),
                     static_cast<std::uintmax_t>(File::getFileSize()), slots);
    }
    static void expectNewest(File& file, int slot, int time, int used) {
        EXPECT_EQ(file.recentRecordIndex(), slot);
        EXPECT_EQ(file.recentRecordTimeStamp().seconds(), time);
        EXPECT_EQ(file.validRecordCount(), used);
    }
    template <typename Action>
    static int dropsOf(Action action) {
        int const before = cacheDrops;
        action();
        return cacheDrops - before;
    }

    fs::path const path = Events  ? data / "event_log-1-2-7#0.vek"
                          : Lamps ? settings / "lightsource_log.vek"
                                  : data / "measurement_log0.vek";
};
using Kinds = testing::Types<EventFile, LightSourceFile, MeasurementFile>;
TYPED_TEST_SUITE(SlotFiles, Kinds, );  // a variadic macro wants one argument more

TYPED_TEST(SlotFiles, FindTheNewestRecordWhateverIsAskedFirst) {
    int const last = TypeParam::getRecordCount() - 1;
    struct Case {
        std::map<int, int> times;
        int newest, time, used;
    };
    for (Case const& c : std::vector<Case>{{{}, -1, 0, 0},
                                           {{{0, 5}, {1, 6}, {2, 6}}, 2, 6, 3},
                                           {{{0, 5}, {last - 1, 4}, {last, 5}}, last, 5, last + 1},
                                           {{{0, 5}, {1, 6}, {last, 4}}, 1, 6, last + 1},
                                           {{{0, 5}, {1, 5}, {last, 4}}, 1, 5, last + 1}}) {
        this->make(c.times);
        EXPECT_EQ(TypeParam(0).validRecordCount(), c.used);
        EXPECT_EQ(TypeParam(0).recentRecordTimeStamp().seconds(), c.time);
        TypeParam file(0);
        this->expectNewest(file, c.newest, c.time, c.used);
        EXPECT_TRUE(file.scanRecords());
    }
}

TYPED_TEST(SlotFiles, KnowAfterOpeningAndCleaningWhatIsThere) {
    auto const record = [](int time) { return TestFixture::record(time); };
    int const last = TypeParam::getRecordCount() - 1;
    this->make({{0, 5}, {1, 6}});
    TypeParam file(0);
    EXPECT_EQ(file.recentRecordIndex(), 1);
    EXPECT_TRUE(file.addRecord(record(7)));
    this->expectNewest(file, 2, 7, 3);
    EXPECT_EQ(wire(file.readRecord(2)), wire(record(7)));

    this->make({{0, 9}, {last, 10}});
    EXPECT_EQ(this->dropsOf([&] { EXPECT_TRUE(file.openFd()); }), 1);
    EXPECT_EQ(wire(file.readRecord(0)), wire(record(9)));
    this->expectNewest(file, last, 10, last + 1);
    EXPECT_FALSE(file.addRecord(record(11)));  // it never wraps
    EXPECT_EQ(errno, ERANGE);
    EXPECT_TRUE(file.writeRecord(record(11), 0));
    EXPECT_TRUE(file.addRecord(record(12)));
    this->expectNewest(file, 1, 12, last + 1);

    EXPECT_EQ(this->dropsOf([&] { EXPECT_TRUE(file.cleanFile(this->path.c_str())); }), 1);
    EXPECT_FALSE(file.readRecord(0).isValid());
    this->expectNewest(file, -1, 0, 0);
    EXPECT_TRUE(file.addRecord(record(13)));
    EXPECT_EQ(wire(file.readRecord(0)), wire(record(13)));
    EXPECT_EQ(wire(TypeParam(0).mFirstRecord), wire(record(13)));

    write(this->path, "text");
    EXPECT_EQ(this->dropsOf([] { TypeParam(0); }), 2);  // when it is made again, and at the end
    file.closeFd();
    EXPECT_FALSE(file.writeRecord(record(14), 1));
    EXPECT_EQ(errno, EBADF);
    EXPECT_TRUE(file.openFd());
    fs::remove(this->path);
    fs::create_directory(this->path);
    EXPECT_FALSE(file.cleanFile(this->path.c_str()));
    EXPECT_FALSE(file.writeRecord(record(14), 1));
    EXPECT_EQ(errno, EISDIR);

    fs::remove(this->path);
    mkfifo(this->path.c_str(), 0600);  // the end of which can't be sought
    EXPECT_EQ(file.openFd(), this->Events);
    EXPECT_EQ(file.writeRecord(record(15), 1), this->Events);
}

}  // namespace ZEB
