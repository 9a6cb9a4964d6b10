#include <cerrno>

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

TEST_F(Unkind, FilesThatAreNotMadeForNoReasonGiveEio) {
    unkindWays = "silent-failures";
    errno = EPERM;  // an earlier call's
    EventFile file(0);
    EXPECT_FALSE(file.writeRecord(event(1), 0));
    EXPECT_EQ(errno, EIO);
}

}  // namespace ZEB
