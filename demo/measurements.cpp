#include <cstdint>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>

#include "BasicMeasurementLog.h"
#include "Child.h"
#include "Demo.h"

namespace ZEB::demo {

namespace {

constexpr int Samples = 40;

double freeMemory() {
    std::ifstream in("/proc/meminfo");
    for (std::string name; in >> name;) {
        double kilobytes = 0;
        if (name == "MemAvailable:" && in >> kilobytes) return kilobytes * 1024;
        in.ignore(100, '\n');
    }
    return 0;
}

// The running machine: load, free memory and, where there is one, its temperature.
MeasurementRecord sample() {
    using Kind = MeasurementRecord::ValueKind;
    std::timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    MeasurementRecord record(TimeStamp(static_cast<std::int32_t>(now.tv_sec),
                                       static_cast<std::uint32_t>(now.tv_nsec / 1000)),
                             1);
    double value = 0;
    if (std::ifstream("/proc/loadavg") >> value) record.setValue(0, Kind::Load, value);
    record.setValue(1, Kind::FreeMemory, freeMemory());
    if (std::ifstream("/sys/class/thermal/thermal_zone0/temp") >> value) {
        record.setValue(2, Kind::Temperature, value / 1000);
    }
    return record;
}

void record(int count) {
    BasicMeasurementLog log;
    log.SetEnabled(true);
    for (int i = 0; i < count; ++i) {
        MeasurementRecord const taken = sample();
        log.writeRecord(taken);
        MeasurementRecord const stored = log.getRecord(static_cast<int>(log.GetCount()) - 1);
        require(stored.value(1) == taken.value(1), "a measurement is wrong");
        usleep(100000);
    }
}

void expectCount(char const* when, long count) {
    BasicMeasurementLog log;
    std::printf("  %s: %ld measurements\n", when, log.GetCount());
    require(log.GetCount() == count, "measurements are missing");
}

// The records from one second on, up to another, not included.
void fetchDates(std::uint32_t from, std::uint32_t to) {
    BasicMeasurementLog log;
    std::uint32_t const dates[] = {from, to};
    ByteBuf range;
    log.GetLogRangeDates(Var(ByteBuf(reinterpret_cast<char const*>(dates), sizeof dates)), range);
    std::uint32_t fields[2];
    std::memcpy(fields, range.data(), sizeof fields);
    auto [first, count] = std::pair(fields[0], fields[1]);
    require(count > 0 && count < Samples, "the date range does not split the measurements");
    std::printf("  between %u and %u: %u measurements from index %u on\n", from, to, count, first);
    while (count > 0) {
        ByteBuf reply;
        log.GetLogRecords(&first, &count, 0, reply);
        for (std::size_t at = 8; at < reply.size(); at += MeasurementFile::RecordSize) {
            std::uint32_t seconds = 0;
            std::memcpy(&seconds, reply.data() + at, sizeof seconds);
            require(seconds >= from && seconds <= to, "a fetched measurement is out of its range");
        }
    }
}

}  // namespace

void measurements(char const* exportPath) {
    auto const start = static_cast<std::uint32_t>(std::time(nullptr));
    inOneRun([] { record(Samples / 2); });
    inOneRun([] { record(Samples / 2); });
    inOneRun([] { BasicMeasurementLog().NewCurrentFile(0, true); });
    inOneRun([] { expectCount("restarted by the pointer", Samples); });
    std::filesystem::remove(std::filesystem::path(std::getenv("VEK_ROOT")) /
                            "data/currentMeasurementLog");
    inOneRun([] { expectCount("restarted without it", Samples); });
    inOneRun([=] { fetchDates(start + 1, start + 3); });
    inOneRun([=] {
        BasicMeasurementLog log;
        require(log.SaveToFile(exportPath, start + 1, start + 3), "the export failed");
    });
}

}  // namespace ZEB::demo
