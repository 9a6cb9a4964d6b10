#include "BasicEventLog.h"

#include <map>

#include "Fixture.h"
#include "util/DropCaches.h"

namespace ZEB {

[[gnu::visibility("default")]] void DropCaches() { ++cacheDrops; }  // instead of the platform's

constexpr int R = 65000;
constexpr std::uintmax_t FullSize = 4030018;
std::string const Header = headerOf("EL", 62, R);

class EventFiles : public Instrument {
  protected:
    fs::path path(int index) const { return data / name(index); }
    static std::string name(int index) {
        return "event_log-1-2-7#" + std::to_string(index) + ".vek";
    }
    // A new file can be longer than it has to be.
    static std::string slotsOf(fs::path const& path) {
        std::string const bytes = contents(path).substr(0, FullSize);
        EXPECT_EQ(bytes.substr(0, 18), Header);
        return bytes.substr(18);
    }
    static void expectEmpty(EventFile& file) {
        EXPECT_EQ(file.recentRecordIndex(), -1);
        EXPECT_EQ(file.validRecordCount(), 0);
    }
};

TEST_F(EventFiles, AreMadeWholeAndHoldRecordsAtTheirPlaces) {
    EXPECT_FALSE(EventFile::FileExist(3));
    {
        EventFile file(3);
        EXPECT_EQ(slotsOf(path(3)), std::string(FullSize - 18, '\0'));
        expectEmpty(file);
        EXPECT_TRUE(file.writeRecord(event(5), 0));
        EXPECT_TRUE(file.writeRecord(event(7), R - 1));
        EXPECT_FALSE(file.writeRecord(event(8), R));
        EXPECT_FALSE(file.writeRecord(event(8), -1));
        EXPECT_FALSE(file.addRecord(event(8)));
        EXPECT_EQ(file.recentRecordTimeStamp().seconds(), 7);
        EXPECT_EQ(slotsOf(path(3)), slotOf<EventFile>(event(5)) +
                                        std::string(FullSize - 18 - 2 * 62, '\0') +
                                        slotOf<EventFile>(event(7)));
        std::ostringstream out;
        file.serialize(event(5), out);
        std::istringstream in(out.str());
        EventMsg read;
        file.deserialize(read, in);
        EXPECT_EQ(wire(read), wire(event(5)));
    }
    EXPECT_TRUE(EventFile::FileExist(3));
}

TEST_F(EventFiles, ReadWithinTheFileOrGiveDefaultRecords) {
    makeSlotFile<EventMsg>(path(0), Header, FullSize,
                           {{0, event(1)}, {1, event(2)}, {R - 1, event(9)}});
    EventFile file(0);
    auto const offset = [&] { return file.IsCurrentFile(path(0).c_str()); };
    int const flushed = fsyncs;
    EXPECT_EQ(offset(), 80);
    EXPECT_EQ(file.IsCurrentFile(path(1).c_str()), 0);
    EXPECT_EQ(fsyncs - flushed, 1);

    write(path(0), "");  // only slot 0 is kept in memory
    EXPECT_EQ(file.readRecord(0).timeStamp().seconds(), 1);
    EXPECT_FALSE(file.readRecord(1).isValid());
    EXPECT_EQ(offset(), 80);
    makeSlotFile<EventMsg>(path(0), Header, FullSize,
                           {{0, event(1)}, {1, event(2)}, {R - 1, event(9)}});

    EXPECT_EQ(wire(file.readRecord(1)), wire(event(2)));
    EXPECT_EQ(offset(), 142);
    EXPECT_FALSE(file.readRecord(-1).isValid());
    EXPECT_FALSE(file.readRecord(34636833).isValid());  // begins beyond 31 bits
    EXPECT_EQ(offset(), 142);
    EXPECT_FALSE(file.readRecord(R).isValid());
    EXPECT_EQ(offset(), static_cast<std::int64_t>(FullSize));
    EXPECT_EQ(wire(file.readRecords(R - 1, 1).at(0)), wire(event(9)));
    for (EventMsg const& record : file.readRecords(R - 10, 20)) EXPECT_FALSE(record.isValid());
    EXPECT_EQ(offset(), static_cast<std::int64_t>(FullSize));
    EXPECT_TRUE(file.readRecords(0, 0).empty());
    EXPECT_EQ(offset(), 18);
    EXPECT_THROW(file.readRecords(0, -1), std::bad_alloc);

    EXPECT_TRUE(file.writeRecord(event(3), 4));
    EXPECT_EQ(offset(), 328);
    file.closeFd();
    EXPECT_EQ(offset(), 0);
    EXPECT_FALSE(file.writeRecord(event(6), 0));
    EXPECT_EQ(file.readRecord(0).timeStamp().seconds(), 6);  // it was kept, though not stored
    EXPECT_FALSE(file.readRecord(1).isValid());
    EXPECT_TRUE(file.openFd() && file.openFd());
    EXPECT_EQ(file.readRecord(0).timeStamp().seconds(), 1);
}

TEST_F(EventFiles, ReportWhatCannotBeOpenedAndStayUsable) {
    fs::create_directory(path(0));
    std::string const failed = "No way to create Event Log File";
    EXPECT_EQ(messagesOf([] {
                  EventFile file(0);
                  EXPECT_FALSE(file.writeRecord(event(1), 1));
                  EXPECT_FALSE(file.readRecord(1).isValid());
              }),
              shown(2, "Current eventfile is " + path(0).string()) + failed + ": Is a directory\n" +
                  shown(1, failed));
    fs::remove_all(data);
    std::string const messages = messagesOf([] { EventFile file(1); });
    EXPECT_NE(messages.find(failed + ": "), std::string::npos);
    EXPECT_NE(messages.find(shown(1, failed)), std::string::npos);
}

TEST_F(EventFiles, ComeBackFromTheBackupWithoutOverwritingAny) {
    for (int index : {3, 4, 5}) {
        makeSlotFile<EventMsg>(backup / name(index), Header, FullSize, {{0, event(100 + index)}});
    }
    write(backup / "event_log-9-8-7#6.vek", "other version");
    write(backup / "event_log-1-2-7#007.vek", "name of no file");
    write(backup / "notes.txt", "text");
    makeSlotFile<EventMsg>(path(3), Header, FullSize, {{0, event(1)}});
    std::string const messages = messagesOf([] {
        EventFile file(4);
        EXPECT_EQ(file.mFirstRecord.timeStamp().seconds(), 104);
    });
    EXPECT_EQ(messages, shown(1, "ZEB::EventFile::RestoreFromBackup") +
                            (backup / name(7)).string() + ": No such file or directory\n" +
                            shown(2, "Current eventfile is " + path(4).string()));
    EXPECT_EQ(EventFile(3).mFirstRecord.timeStamp().seconds(), 1);
    EXPECT_EQ(contents(path(5)), contents(backup / name(5)));
    EXPECT_EQ(contents(data / "event_log-9-8-7#6.vek"), "other version");
    EXPECT_EQ(fs::file_size(path(7)), 0U);
    EXPECT_FALSE(fs::exists(data / "notes.txt"));
    fs::remove_all(backup);
    EXPECT_FALSE(EventFile(3).RestoreFromBackup());
}

TEST_F(EventFiles, AreReadElsewhereOnlyWithAMatchingHeader) {
    BasicEventLog log;
    log.SetEnabled(true);
    log.writeRecord(event(7));
    EventFile open(0);
    std::string const before = EventFile::getFileLocation();
    fs::path const file0 = path(0);
    fs::path const file1 = path(1);
    std::string const stored = contents(file0);
    fs::path const old = root / "old";
    fs::create_directory(old);
    std::string const path = old / "event_log-1-1-0#0.vek";
    struct Case {
        std::string contents;
        std::string message;
        int count;
        std::int64_t size;
        bool large;
    };
    std::string const unread = "FAILED to read header information from " + path + "\n";
    std::string const mismatch = "Header information of EventFile does not match\n";
    for (Case const& c :
         std::vector<Case>{{headerOf("EL", 62, 0x1234).substr(0, 16), unread, R, 16, true},
                           {headerOf("EL", 62, 0x1234).substr(0, 17), unread, 0xfd34, 17, true},
                           {headerOf("LS", 36, 1000), mismatch, 1000, 18, false},
                           {headerOf("EL", 62, 2001, 2), mismatch, 2001, 18, true},
                           {headerOf("EL", 61, 2000), mismatch, 2000, 18, false},
                           {headerOf("EL", 62, 0), mismatch, 0, 18, false}}) {
        write(path, c.contents);
        EXPECT_EQ(messagesOf([&] { EXPECT_EQ(EventFile::SetUpReading(path.c_str(), 1, 1, 0), 0); }),
                  c.message);
        EXPECT_EQ(EventFile::getRecordCount(), c.count);
        EXPECT_EQ(EventFile::getFileSize(), c.size);
        EXPECT_EQ(EventFile::hasLargeStorage(), c.large);
        EXPECT_EQ(EventFile::getFileLocation(), before);

        log.writeRecord(event(8));
        EXPECT_FALSE(open.writeRecord(event(8), 1) || open.addRecord(event(8)) ||
                     open.cleanFile(file0.c_str()) || EventFile(0).openFd());
        EventFile(1);
        EXPECT_EQ(contents(file0), stored);
        EXPECT_FALSE(fs::exists(file1));
    }
    std::string const none = root / "none";
    std::string const refused = "ZEB::EventFile::SetUpReading - path too long or with a %: ";
    fs::create_directory(root / "100%");
    write(root / "100%/f", Header);
    std::string const unfit = root / "100%/f";
    std::string const tooLong = old.string() + std::string(939 - old.string().size(), '/') + "f";
    for (auto const& [there, message] :
         std::map<std::string, std::string>{{none, "Failed to open " + none},
                                            {unfit, refused + unfit},
                                            {tooLong, refused + tooLong}}) {
        EXPECT_EQ(messagesOf([&path = there] { EventFile::SetUpReading(path.c_str(), 1, 1, 0); }),
                  message + "\n");
        EXPECT_EQ(EventFile::getFileLocation(), before);
    }

    makeSlotFile<EventMsg>(path, headerOf("EL", 62, 2000), 18 + 62 * 2000, {{0, event(3)}});
    ASSERT_EQ(EventFile::SetUpReading(path.c_str(), 1, 1, 0), 1);
    EXPECT_EQ(EventFile::getFileLocation(), old);
    EXPECT_FALSE(EventFile::hasLargeStorage());
    fs::current_path(old);
    EXPECT_EQ(EventFile::SetUpReading("event_log-1-1-0#0.vek", 1, 1, 0), 1);
    EXPECT_EQ(EventFile::getFileLocation(), std::string("."));
    EXPECT_EQ(EventFile(0).mFirstRecord.timeStamp().seconds(), 3);
    EventFile made(2);
    EXPECT_GE(fs::file_size(old / "event_log-1-1-0#2.vek"), FullSize);
    EXPECT_FALSE(made.writeRecord(event(1), 2000));
}

}  // namespace ZEB
