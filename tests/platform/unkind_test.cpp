#include <cerrno>
#include <functional>

#include "BasicMeasurementLog.h"
#include "EventFile.h"
#include "Fixture.h"
#include "LightSourceFile.h"
#include "MeasurementFile.h"

namespace ZEB {

class Unkind : public Instrument {};

template <class File, class Record>
static void expectNotStored(fs::path const& path, Record const& record) {
    File file(0);
    EXPECT_TRUE(file.writeRecord(record, 0));
    std::string const before = contents(path);
    for (std::string const way : {"long-records", "chatty-records", "failing-records"}) {
        unkindWays = way;
        EXPECT_FALSE(file.writeRecord(record, 0));
        EXPECT_EQ(errno, way == "failing-records" ? EBADMSG : EMSGSIZE);
        EXPECT_FALSE(file.addRecord(record));
        EXPECT_TRUE(contents(path) == before);
        EXPECT_EQ(file.recentRecordIndex(), 1);  // as after any failed write
    }
    unkindWays = "";
    EXPECT_TRUE(file.writeRecord(record, 2));
    EXPECT_EQ(wire(file.readRecord(2)), wire(record));
}

TEST_F(Unkind, RecordsAreNotStoredWhereTheyDoNotFit) {
    expectNotStored<EventFile>(data / "event_log-1-2-7#0.vek", event(1));
    expectNotStored<LightSourceFile>(settings / "lightsource_log.vek", lamp(1, 1));
    expectNotStored<MeasurementFile>(data / "measurement_log0.vek", measurement(1));
}

template <class File, class Record>
static void expectClosed(Record const& record) {
    File file(0);
    file.closeFd();
    EXPECT_FALSE(file.writeRecord(record, 1));
    EXPECT_EQ(errno, ENOSPC);
}

// A new file without a header would be made again at the next start.
TEST_F(Unkind, FilesWithoutAHeaderStayClosed) {
    unkindWays = "full-disk";
    expectClosed<EventFile>(event(1));
    expectClosed<MeasurementFile>(measurement(1));
    EXPECT_FALSE(MeasurementFile(0).isOpen());
}

TEST_F(Unkind, CallersMeetAtOneLock) {
    BasicMeasurementLog log;
    EventFile file(0);
    Reply reply;
    unsigned first = 0;
    unsigned count = 0;
    unsigned short client = 0;
    std::function<void()> const operations[] = {
        [&] { log.SetEnabled(false); },
        [&] { log.writeRecord(measurement(1)); },
        [&] { log.GetLostRecords(); },
        [&] { log.Clear(); },
        [&] { log.close(); },
        [&] { log.GetFirst(); },
        [&] { log.GetCount(); },
        [&] { log.SaveToFile((root / "export").c_str(), 0, 1); },
        [&] { log.GetLogRange(reply); },
        [&] { log.GetLogRangeDates(request(""), reply); },
        [&] { log.SetupGetLogRecordsRange(request(""), &first, &client); },
        [&] { log.GetLogRecords(&first, &count, client, reply); },
        [&] { file.writeRecord(event(1), 1); },
        [&] { file.readRecord(1); },
        [&] { file.readRecords(0, 9); },
        [&] { file.IsCurrentFile((data / "event_log-1-2-7#0.vek").c_str()); },
        [&] { file.closeFd(); },
        [&] { file.openFd(); }};
    for (std::size_t i = 0; i < std::size(operations); ++i) {
        int const before = locks;
        operations[i]();
        bool const opens = i == std::size(operations) - 1;  // it first closes what is open
        EXPECT_EQ(locks - before, opens ? 2 : 1) << i;
    }
}

}  // namespace ZEB
