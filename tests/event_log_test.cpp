#include "BasicEventLog.h"

#include "Fixture.h"

namespace ZEB {

using Range = std::pair<std::uint32_t, std::uint32_t>;

class EventLogs : public Instrument {
  protected:
    fs::path path(int index) const {
        return data / ("event_log-1-2-7#" + std::to_string(index) + ".vek");
    }
    // Nine files of so many slots.
    void useSmallRing(int slots) {
        makeSlotFile<EventMsg>(path(0), headerOf("EL", 62, slots),
                               18U + 62U * static_cast<unsigned>(slots), {});
        ASSERT_EQ(EventFile::SetUpReading(path(0).c_str(), 1, 2, 7), 1);
    }
    static void append(BasicEventLog& log, int first, int last) {
        for (int time = first; time <= last; ++time) log.writeRecord(event(time));
    }
    static int timeAt(BasicEventLog& log, unsigned long index) {
        EventMsg record;
        log.GetRecord(&record, index);
        return record.timeStamp().seconds();
    }
};

TEST_F(EventLogs, MakeFilesForReadingAndClearThemAll) {
    useSmallRing(3);
    BasicEventLog log;
    append(log, 99, 99);  // writing is off at first
    log.SetEnabled(true);
    append(log, 1, 10);
    EXPECT_EQ(rangeOf(log), Range(0, 10));
    EXPECT_EQ(log.IsCurrentFile(path(3).c_str()), 80);
    EXPECT_EQ(log.IsCurrentFile(path(0).c_str()), 0);
    EXPECT_EQ(timeAt(log, 26), 0);
    EXPECT_TRUE(fs::exists(path(8)));

    fs::copy(path(0), backup);
    write(data / "event_log-1-2-8#0.vek", "");
    log.clear();
    EXPECT_EQ(rangeOf(log), Range(0, 0));
    EXPECT_EQ(timeAt(log, 0), 1);  // the backup brought file 0 back
    for (int i = 1; i < 9; ++i) EXPECT_FALSE(fs::exists(path(i)));
    EXPECT_TRUE(fs::exists(data / "event_log-1-2-8#0.vek"));
    append(log, 30, 30);
    EXPECT_EQ(timeAt(log, 0), 30);  // still enabled
}

TEST_F(EventLogs, ClearWhateverPathTheyCanClear) {
    fs::path const deep = root / std::string(76 - root.string().size(), 'd');
    fs::create_directory(deep);
    fs::path const first = deep / "event_log-1-2-7#0.vek";
    write(first, headerOf("EL", 62, 2));
    ASSERT_EQ(EventFile::SetUpReading(first.c_str(), 1, 2, 7), 1);
    BasicEventLog log;
    log.SetEnabled(true);
    append(log, 1, 17);
    ASSERT_EQ((deep / "event_log-1-2-7#8.vek").string().size(), 99U);
    log.clear();
    EXPECT_EQ(std::distance(fs::directory_iterator(deep), {}), 1);
}

TEST_F(EventLogs, SendRunsThatEndWithTheirFile) {
    useSmallRing(1000);
    BasicEventLog log;
    log.SetEnabled(true);
    append(log, 1, 3000);
    auto const replies = fetch(log, 990, 1000);
    ASSERT_EQ(replies.size(), 3U);
    EXPECT_EQ(timesOf<EventMsg>(replies[0]).size(), 10U);
    EXPECT_EQ(timesOf<EventMsg>(replies[1]).size(), 716U);
    EXPECT_EQ(replies[2].substr(0, 8), bytesOf(1716) + bytesOf(274));

    EventMsg stamped = event(2);
    stamped.setClient(5);
    EXPECT_EQ(fetch(log, 1, 1, 5).at(0),
              bytesOf(1) + bytesOf(1) + bytesOf(std::uint16_t{62}) + wire(stamped));
    EXPECT_EQ(timesOf<EventMsg>(fetch(log, 9001, 1).at(0)), std::vector<int>{2});  // any cursor
}

TEST_F(EventLogs, CutRequestsToWhatTheyHold) {
    useSmallRing(3);
    BasicEventLog log;
    log.SetEnabled(true);
    append(log, 1, 30);  // holds 3 to 29
    constexpr std::int32_t Max = INT32_MAX;
    constexpr std::int32_t Min = INT32_MIN;
    struct Case {
        Var request;
        std::uint32_t first;
        std::uint32_t count;
        unsigned client;
    };
    for (Case const& c :
         std::vector<Case>{{request(5, 10), 5, 10, 0},
                           {request(5, 10, "\x07"), 5, 10, 7},
                           {request(5, 10, "\x07\x01zz"), 5, 10, 0x107},
                           {request(0, 10), 3, 10, 0},
                           {request(Min, Max), 3, 27, 0},
                           {request(20, 100), 20, 10, 0},
                           {request(29, 1), 29, 1, 0},
                           {request(30, 1), 30, 0, 0},
                           {request(Max, Max), Max, 0, 0},
                           {request(5, -1), 5, 0, 0},
                           {request(0, Min), 3, 0, 0},
                           {request(""), 3, 0, 0},
                           {request("\x04"), 4, 0, 0},
                           {request("\x04" + std::string(3, '\0') + "\x02"), 4, 2, 0}}) {
        unsigned first = 77;
        unsigned short client = 77;
        EXPECT_EQ(log.SetupGetLogRecordsRange(c.request, &first, &client), c.count);
        EXPECT_EQ(first, c.first);
        EXPECT_EQ(client, c.client);
    }
}

}  // namespace ZEB
