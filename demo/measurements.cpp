#include <cstdint>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "BasicMeasurementLog.h"
#include "Child.h"
#include "Demo.h"

namespace ZEB::demo {

namespace {

constexpr int SampleCount = 24;

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

// Writes samples to the log and, for the comparison, to a file beside it.
void record(char const* takenPath) {
    BasicMeasurementLog log;
    log.SetEnabled(true);
    std::ofstream taken(takenPath, std::ios::binary | std::ios::app);
    for (int i = 0; i < SampleCount / 2; ++i) {
        MeasurementRecord const now = sample();
        log.writeRecord(now);
        now.serialize(taken);
        usleep(200000);
    }
    require(log.GetLostRecords().count == 0, "a measurement was not stored");
}

std::vector<MeasurementRecord> readTaken(char const* path) {
    std::vector<MeasurementRecord> taken(SampleCount);
    std::ifstream in(path, std::ios::binary);
    for (auto& record : taken) record.deserialize(in);
    require(taken.back().isValid(), "the samples can't be read back");
    return taken;
}

std::string bytesOf(MeasurementRecord const& record) {
    std::ostringstream out;
    record.serialize(out);
    return out.str();
}

std::uint32_t timeOf(MeasurementRecord const& record) {
    return static_cast<std::uint32_t>(record.timeStamp().seconds());
}

void expectAll(char const* when, std::vector<MeasurementRecord> const& taken) {
    BasicMeasurementLog log;
    std::printf("  %s: %ld measurements\n", when, log.GetCount());
    require(log.GetCount() == SampleCount, "measurements are missing");
    for (int i = 0; i < SampleCount; ++i) {
        auto const& expected = taken[static_cast<std::size_t>(i)];
        require(bytesOf(log.getRecord(i)) == bytesOf(expected), "a measurement is wrong");
    }
}

// The records from one second on, up to another, not included. Several samples of
// one second are one date: the range begins and ends at any of them.
std::pair<std::uint32_t, std::uint32_t> fetchDates(std::uint32_t from, std::uint32_t to,
                                                   std::vector<MeasurementRecord> const& taken) {
    BasicMeasurementLog log;
    std::uint32_t const dates[] = {from, to};
    ByteBuf range;
    log.GetLogRangeDates(Var(ByteBuf(reinterpret_cast<char const*>(dates), sizeof dates)), range);
    std::uint32_t fields[2];
    std::memcpy(fields, range.data(), sizeof fields);
    std::uint32_t const begin = fields[0];
    std::uint32_t const end = begin + fields[1];
    auto [first, count] = std::pair(begin, fields[1]);
    std::printf("  from %u up to but not including %u: %u measurements, the first has index %u\n",
                from, to, count, first);
    require(begin < end && end < taken.size() && timeOf(taken[begin]) == from &&
                timeOf(taken[end]) == to,
            "the date range is wrong");
    std::uint32_t index = begin;
    while (count > 0) {
        ByteBuf reply;
        log.GetLogRecords(&first, &count, 0, reply);
        for (std::size_t at = 8; at < reply.size(); at += MeasurementFile::RecordSize, ++index) {
            std::string const found(reply.data() + at, MeasurementFile::RecordSize);
            require(found == bytesOf(taken[index]), "a fetched measurement is wrong");
        }
    }
    require(index == end, "a reply is short");
    return {begin, end};
}

// The export includes the record at its end.
void expectExport(char const* path, std::uint32_t begin, std::uint32_t end,
                  std::vector<MeasurementRecord> const& taken) {
    std::ifstream in(path);
    std::string line;
    std::getline(in, line);
    for (std::uint32_t i = begin; i <= end; ++i) {
        char date[32];
        char time[32];
        std::string const expected = std::string(taken[i].GetDateText(date, sizeof date)) + '\t' +
                                     taken[i].GetTimeText(time, sizeof time) + '\t' +
                                     taken[i].asText();
        require(std::getline(in, line) && line == expected, "an exported measurement is wrong");
    }
    require(!std::getline(in, line), "the export has one measurement too many");
}

}  // namespace

void measurements(char const* takenPath, char const* exportPath) {
    namespace fs = std::filesystem;
    fs::path const pointer = fs::path(std::getenv("VEK_ROOT")) / "data/currentMeasurementLog";
    inOneRun([=] { record(takenPath); });
    inOneRun([=] { record(takenPath); });
    auto const taken = readTaken(takenPath);

    require(fs::exists(pointer), "there is no pointer to the current file");
    inOneRun([&] { expectAll("restarted by the pointer", taken); });
    fs::remove(pointer);
    inOneRun([&] { expectAll("restarted without it", taken); });
    require(fs::exists(pointer), "the pointer was not written again");

    inOneRun([&] {
        std::uint32_t const from = timeOf(taken[SampleCount / 4]);
        std::uint32_t const to = timeOf(taken[SampleCount * 3 / 4]);
        auto const [begin, end] = fetchDates(from, to, taken);
        require(BasicMeasurementLog().SaveToFile(exportPath, from, to), "the export failed");
        expectExport(exportPath, begin, end, taken);
    });
}

}  // namespace ZEB::demo
