#include <sys/resource.h>

#include <cerrno>
#include <csignal>
#include <stdexcept>

#include "BasicEventLog.h"
#include "BasicLightSourceLog.h"
#include "BasicMeasurementLog.h"
#include "Fixture.h"

namespace ZEB {

using Lost = std::pair<std::uint64_t, int>;

class Losses : public Instrument {
  protected:
    template <class Log>
    static Lost lostOf(Log const& log) {
        LostRecords const lost = log.GetLostRecords();
        return {lost.count, lost.error};
    }
    static void endFilesAt(rlim_t size) {
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit const limit{size, RLIM_INFINITY};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
};

TEST_F(Losses, WithoutAFileTellWhyThereIsNone) {
    BasicLightSourceLog lamps;
    lamps.close();
    EXPECT_FALSE(lamps.writeRecord(lamp(1, 1)));
    EXPECT_FALSE(lamps.editRecord(lamp(1, 1)));
    lamps.newRecord(lamp(1, 1));
    EXPECT_EQ(lostOf(lamps), Lost(3, EBADF));
    fs::remove_all(settings);
    EXPECT_THROW(lamps.Clear(), std::logic_error);
    EXPECT_FALSE(lamps.writeRecord(lamp(1, 1)));
    EXPECT_EQ(lostOf(lamps), Lost(4, ENOENT));
    fs::create_directory(settings);
    EXPECT_TRUE(lamps.writeRecord(lamp(1, 1)));
    EXPECT_EQ(lostOf(lamps), Lost(4, ENOENT));
    endFilesAt(18);  // the header fits
    EXPECT_THROW(lamps.Clear(), std::logic_error);
    EXPECT_FALSE(lamps.writeRecord(lamp(1, 1)));
    endFilesAt(RLIM_INFINITY);
    EXPECT_EQ(lostOf(lamps), Lost(5, EFBIG));

    fs::remove_all(data);
    BasicEventLog events;
    BasicMeasurementLog measurements;
    events.writeRecord(event(1));  // not wanted, so not lost
    events.SetEnabled(true);
    measurements.SetEnabled(true);
    for (int i = 0; i < 3; ++i) events.writeRecord(event(1));
    events.clear();
    measurements.writeRecord(measurement(1));
    EXPECT_EQ(lostOf(events), Lost(3, ENOENT));
    EXPECT_EQ(lostOf(measurements), Lost(1, ENOENT));

    fs::create_directory(data);
    write(data / "currentMeasurementLog", "-1");
    BasicMeasurementLog below;  // the ring begins 65000 records further on
    below.SetEnabled(true);
    below.writeRecord(measurement(1));
    EXPECT_EQ(lostOf(below), Lost(1, ERANGE));
}

}  // namespace ZEB
