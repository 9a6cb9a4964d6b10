#include <sched.h>
#include <sys/mount.h>

#include <chrono>
#include <map>

#include "BasicMeasurementLog.h"
#include "Fixture.h"
#include "logs/RingPosition.h"

namespace ZEB {

using Range = std::pair<std::int64_t, std::int64_t>;
using Slots = std::vector<std::pair<int, MeasurementRecord>>;

constexpr int R = 65000;
constexpr int F = 400;
constexpr int T = F * R;
constexpr std::uintmax_t Size = 7150018;

class Measurements : public Instrument {
  protected:
    fs::path path(int index, fs::path const& in) const {
        return in / ("measurement_log" + std::to_string(index) + ".vek");
    }
    fs::path path(int index) const { return path(index, data); }
    // Written in a round before the pointer was.
    void make(int index, Slots const& slots, std::string const& header = headerOf("ML", 110, R)) {
        makeSlotFile(path(index), header, Size, slots);
        fs::last_write_time(path(index), fs::file_time_type::clock::now() - std::chrono::hours(1));
    }
    // Files of which only the slots that the search looks at are really there.
    void makeFull(int index, int time) {
        make(index, {{0, measurement(time)}, {R - 1, measurement(time + R - 1)}});
    }
    void makeUsed(int index, int time, int used, int oldTime = 0) {
        Slots slots;
        for (int i = 0; i < used; ++i) slots.emplace_back(i, measurement(time + i));
        if (oldTime != 0) slots.emplace_back(R - 1, measurement(oldTime));
        make(index, slots);
    }
    void point(std::string const& text) const { write(pointer, text); }
    void removeAll() {
        fs::remove_all(data);
        fs::create_directory(data);
    }
    static Range held(BasicMeasurementLog& log) { return {log.GetFirst(), log.GetCount()}; }
    static Range heldAtStart() {
        BasicMeasurementLog log;
        return held(log);
    }
    static void append(BasicMeasurementLog& log, int first, int last) {
        for (int time = first; time <= last; ++time) log.writeRecord(measurement(time));
    }
    static int timeAt(BasicMeasurementLog& log, int index) {
        return log.getRecord(index).timeStamp().seconds();
    }
    fs::path const pointer = data / "currentMeasurementLog";
};

TEST_F(Measurements, SettleTheirSettingsAndRefuseLongPaths) {
    EXPECT_EQ(BasicMeasurementLog::getFileCount(), 5);
    EXPECT_EQ(BasicMeasurementLog::getRecordCount(), 5000);
    EXPECT_FALSE(MeasurementFile::FileExist(0));
    // So deep that indices of two digits just fit: a path takes 99 characters.
    useRoot(root / std::string(74 - data.string().size(), 'd'));
    fs::create_directories(askedOf(VEKDataFile));
    EXPECT_EQ(MeasurementFile::getFileLocation(), askedOf(VEKDataFile));
    EXPECT_EQ(BasicMeasurementLog::getRecordCount(), T);
    std::string const format = MeasurementFile::getFileNameFormat();
    ASSERT_EQ(format.size(), 97U);
    EXPECT_TRUE(MeasurementFile(9999).writeRecord(measurement(1), R - 1));
    EXPECT_EQ(messagesOf([] {
                  MeasurementFile file(12345);
                  EXPECT_FALSE(file.writeRecord(measurement(1), 0));
                  EXPECT_EQ(errno, ENAMETOOLONG);
                  EXPECT_FALSE(MeasurementFile::FileExist(12345));
              })
                  .find(shown(1, "ZEB::MeasurementFile::openFd - filepath " + format +
                                     " (12345) too long")),
              0U);
}

TEST_F(Measurements, StartWhereThePointerOrElseTheFilesSay) {
    struct Used {
        int index, time, slots, oldTime;
    };
    struct Case {
        char const* what;
        std::string pointer;
        std::vector<Used> files;
        Range held;
        std::string pointerAfter;
    };
    Used const full0{0, 9, R, 0};
    Used const last{399, 8, 5, 5};
    auto const begin = fs::file_time_type::clock::now() - std::chrono::hours(2);
    for (Case const& c : std::vector<Case>{
             {"file behind", "399", {last, full0, {400, 95, 5, 0}}, {0, 399 * R + 5}, "399"},
             {"older", "399", {last, {400, 3, 5, 0}}, {399 * R + 5, 399 * R + 5}, "399"},
             {"beyond, no file 0", "400", {{400, -5, 2, 0}, {401, 9, 5, 0}}, {0, T + 2}, "400"},
             {"far beyond", "2147483647", {}, {0, INT32_MAX}, "2147483647"},
             {"behind", "0", {full0, {1, 200, 5, 0}}, {0, R + 5}, "1"},
             {"none", "", {full0, {1, 200, 5, 0}}, {0, R + 5}, "1"},
             {"none, empty file 0", "", {{0, -9, 3, 0}, {1, 200, R, 0}}, {0, 0}, ""}}) {
        SCOPED_TRACE(c.what);
        removeAll();
        point(c.pointer);
        for (Used const& file : c.files) {
            if (file.slots == R) makeFull(file.index, file.time);
            if (file.slots < R) makeUsed(file.index, file.time, file.slots, file.oldTime);
        }
        std::string const messages = messagesOf([&] { EXPECT_EQ(heldAtStart(), c.held); });
        bool const unread = c.pointer.find_first_of("0123456789") == std::string::npos;
        EXPECT_EQ(messages,
                  unread ? "Failed to read file number from " + pointer.string() + "\n" : "");
        EXPECT_EQ(contents(pointer), c.pointerAfter);
        bool const isWritten = c.pointerAfter != c.pointer;  // as if before all files
        EXPECT_EQ(isWritten, fs::last_write_time(pointer) < begin);
    }
}

TEST_F(Measurements, GoOnAfterTheNewestWhenTheClockFellOrAFileDoesNotOpen) {
    for (int file = 0; file < F; ++file) makeFull(file, file < 3 ? 1000 + file : 100 + file);
    point("2");
    {
        BasicMeasurementLog log;
        log.SetEnabled(true);
        append(log, 20, 22);  // the clock fell before file 3 was begun
    }
    EXPECT_EQ(contents(pointer), "3");
    EXPECT_EQ(heldAtStart(), Range(4 * R, T));  // what is left of file 3 is given up

    fs::rename(path(3), root / "aside");
    fs::create_directory(path(3));
    {
        BasicMeasurementLog log;
        EXPECT_EQ(held(log), Range(3 * R, T));
        log.SetEnabled(true);
        append(log, 30, 40);
    }
    EXPECT_EQ(contents(pointer), "3");
    fs::remove(path(3));
    fs::rename(root / "aside", path(3));
    EXPECT_EQ(heldAtStart(), Range(4 * R, T));
    {
        BasicMeasurementLog log;
        EXPECT_EQ(timeAt(log, 3 * R + 2), 22);
    }

    for (int file = 0; file < F; ++file) makeFull(file, 100 + file);
    makeUsed(300, 20, 3, 400);  // so far from the last file, the leap in it decides
    point("300");
    EXPECT_EQ(heldAtStart(), Range(301 * R, T));
}

TEST_F(Measurements, TouchNoFileOutsideTheRingButThePointersOwn) {
    point("-1");
    makeUsed(-1, 90, 5);
    makeUsed(0, 50, 5);
    BasicMeasurementLog log;
    EXPECT_EQ(held(log), Range(5 - R, T));
    EXPECT_FALSE(log.getRecord(-1).isValid());
    EXPECT_GE(log.dateToIndex(500), 5 - R);  // comes to an end
    EXPECT_TRUE(log.SaveToFile((root / "export").c_str(), 40, 60));
    EXPECT_EQ(std::distance(fs::directory_iterator(data), {}), 4);  // no file made but for 399
}

TEST_F(Measurements, AppendClearAndCloseUnderTheirSwitch) {
    BasicMeasurementLog log;
    append(log, 1, 1);
    log.SetEnabled(true);
    append(log, 1, R);
    EXPECT_FALSE(fs::exists(pointer));
    EXPECT_EQ(timeAt(log, R), 0);  // made for reading, and cached
    append(log, R + 1, R + 2);
    EXPECT_EQ(timeAt(log, R), R + 1);
    EXPECT_EQ(flushedSize, 1);  // the pointer, whole
    EXPECT_EQ(timeAt(log, 1), 2);
    log.close();
    append(log, R + 3, R + 3);
    EXPECT_EQ(held(log), Range(0, R + 3));
    for (int index : {1, R + 2}) EXPECT_EQ(timeAt(log, index), 0);
    makeUsed(2, 70, 3);
    EXPECT_EQ(timeAt(log, 2 * R + 1), 71);  // another file is opened as ever
    point("unrelated");
    log.Clear();
    EXPECT_EQ(contents(pointer), "0");
    EXPECT_FALSE(fs::exists(path(1)));
    EXPECT_EQ(timeAt(log, 2 * R + 1), 0);
    EXPECT_FALSE(log.CopyLog(path(1).c_str(), path(3).c_str()));
}

TEST_F(Measurements, NeverServeAStaleFirstRecord) {
    for (int i = 0; i < F; ++i) makeFull(i, i * R + 1);
    point(std::to_string(F - 1));
    BasicMeasurementLog log;
    log.SetEnabled(true);
    EXPECT_EQ(timeAt(log, 0), 1);  // file 0 is in the cache from here on
    log.writeRecord(measurement(T + 1));
    log.NewCurrentFile(1, false);  // moves on without filling file 0
    EXPECT_EQ(timeAt(log, 0), T + 1);
}

TEST_F(Measurements, AreFoundByTheirTime) {
    BasicMeasurementLog log;
    log.SetEnabled(true);
    EXPECT_EQ(log.dateToIndex(5), 0);
    for (int time : {1, 2, 2, 9, 19, 20}) log.writeRecord(measurement(time));
    for (auto const& [date, index] : std::map<unsigned, int>{
             {0, 0}, {1, 0}, {2, 2}, {3, 3}, {9, 3}, {10, 4}, {19, 4}, {20, 5}, {0xffffffff, 5}}) {
        EXPECT_EQ(log.dateToIndex(date), index) << date;
    }
    auto const between = [&](std::string const& bytes) {
        Reply reply;
        log.GetLogRangeDates(request(bytes), reply);
        return contents(reply);
    };
    EXPECT_EQ(between(bytesOf(3) + bytesOf(19)), bytesOf(3) + bytesOf(1));
    EXPECT_EQ(between(bytesOf(19) + bytesOf(3)), bytesOf(3) + bytesOf(1));
    EXPECT_EQ(between("\x13"), bytesOf(0) + bytesOf(4));
    log.writeRecord(measurement(-1));  // unsigned, the greatest of all
    EXPECT_EQ(log.dateToIndex(0x80000000), 6);
    log.Clear();
    append(log, 4, 4);
    append(log, 4, 4);
    EXPECT_EQ(log.dateToIndex(18), 0);
}

TEST_F(Measurements, AreExportedWithBothEnds) {
    makeUsed(0, 0, 0);
    fs::path const out = root / "export";
    auto const exported = [&](BasicMeasurementLog& log, long from, long to) {
        EXPECT_TRUE(log.SaveToFile(out.c_str(), from, to));
        return contents(out);
    };
    char text[1024];
    std::string const header = MeasurementRecord::GetHeader(text, sizeof text);
    auto const line = [&](int time) {
        MeasurementRecord record = measurement(time);
        record.setClient(110);
        std::string const date = record.GetDateText(text, 100);
        return date + '\t' + record.GetTimeText(text, 100) + '\t' + record.asText() + '\n';
    };
    BasicMeasurementLog log;
    EXPECT_EQ(exported(log, 0, 100), header);
    log.SetEnabled(true);
    for (int time : {10, 20, 30, 40}) log.writeRecord(measurement(time));
    EXPECT_EQ(exported(log, 15, 25), header + line(20) + line(30));
    EXPECT_EQ(exported(log, 25, 15), header + line(20) + line(30));
    EXPECT_EQ(exported(log, 40, 99), header + line(40));
    EXPECT_EQ(exported(log, 0x100000019, 20), header + line(20) + line(30));  // low 32 bits
    EXPECT_EQ(exported(log, -1, 15), header);  // ends before it begins
    EXPECT_EQ(messagesOf([&] { EXPECT_FALSE(log.SaveToFile(root.c_str(), 0, 1)); }),
              shown(2, "BasicMeasurementLog::SaveToFile - failed to open " + root.string()));

    for (int i = 0; i < F; ++i) makeFull(i, i * R + 1);
    point(std::to_string(F - 1));
    BasicMeasurementLog full;
    full.SetEnabled(true);
    append(full, T + 1, T + 2);
    EXPECT_EQ(exported(full, T, T + 2), header + line(T) + line(T + 1) + line(T + 2));
    std::string const reply = fetch(full, 5, 500).at(0);
    EXPECT_EQ(reply.substr(0, 8), bytesOf(5) + bytesOf(417));  // it holds no more
    EXPECT_EQ(reply.size(), 8 + 417 * wire(measurement(1)).size());
}

TEST_F(Measurements, ComeBackFromTheBackupOverLiveFiles) {
    if (unshare(CLONE_NEWNS) != 0 || mount("none", "/", "", MS_REC | MS_PRIVATE, "") != 0 ||
        mount("none", "/mnt", "tmpfs", 0, "") != 0) {
        GTEST_SKIP() << "no private mount namespace here";
    }
    fs::path const saved = "/mnt/sysdata/veklogs";
    fs::create_directories(saved);
    makeUsed(0, 50, 3);
    makeUsed(3, 60, 4);
    fs::copy(path(3), saved);
    fs::remove(path(3));
    write(saved / "measurement_log3.vek.old", "");
    write(saved / "measurement_log0.vek.old", "");  // names a file that is not there
    write(saved / "notes", "");
    EXPECT_EQ(heldAtStart(), Range(0, 3));  // without a pointer there is no backup
    fs::remove(pointer);
    write(saved / "currentMeasurementLog", "3");
    EXPECT_EQ(messagesOf([] { EXPECT_EQ(heldAtStart(), Range(0, 3 * R + 4)); }),
              path(0, saved).string() + ": No such file or directory\n");
    EXPECT_EQ(contents(pointer), "3");
    EXPECT_EQ(fs::file_size(path(0)), 0U);
    EXPECT_FALSE(fs::exists(data / "notes"));
}

TEST(RecordIndices, StayBelowTheirLimitAtTheSamePlace) {
    Ring const ring{3, 1000};
    HeldRange held{INT32_MAX - 3001, 3000};
    for (int i = 0; i < 5000; ++i) {
        auto const place = static_cast<std::uint64_t>(held.end());
        RingPosition const before = ringPosition(place, ring);
        held.keepBelowLimit(ring);
        RingPosition const after = ringPosition(static_cast<std::uint64_t>(held.end()), ring);
        ASSERT_EQ(before.file * 1000 + before.slot, after.file * 1000 + after.slot);
        held.addOne(ring);
        ASSERT_LE(held.end(), INT32_MAX);
        ASSERT_EQ(held.count, 3000);
    }
    EXPECT_EQ(ringPosition(~std::uint64_t{0}, ring).slot, 615);
}

}  // namespace ZEB
