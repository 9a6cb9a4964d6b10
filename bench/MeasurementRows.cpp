#include <memory>

#include "BasicMeasurementLog.h"
#include "Bench.h"
#include "Files.h"
#include "MeasurementRing.h"
#include "Rows.h"

namespace bench {

using ZEB::BasicMeasurementLog;
using ZEB::MeasurementFile;
using ZEB::MeasurementRecord;

namespace {

constexpr MeasurementFile* Kind = nullptr;

Row move() {
    auto const before = [pointer = pointerPath()] {
        Fd const out(open(pointer.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666));
        require(write(out, "1", 1) == 1 && fsync(out) == 0, "pointer");
    };
    return moveRow<BasicMeasurementLog, MeasurementFile>(
        "move to a new measurement file", 500, [] { setPointer(0); }, before);
}

Row fetch() {
    auto const library = [] {
        return
            [log = enabledLog<BasicMeasurementLog>()] { fetchAll(*log, Slots, FullFile * Slots); };
    };
    return {"fetch a full measurement file",
            3.8,
            side("library", library),
            bareFetch<MeasurementFile>(FullFile),
            {1, 101}};
}

Row single() {
    auto const library = [] {
        return [log = enabledLog<BasicMeasurementLog>(), slot = SomeSlot()]() mutable {
            benchmark::DoNotOptimize(log->getRecord(FullFile * Slots + slot()));
        };
    };
    return {"one measurement by index",
            0.90,
            side("library", library),
            bareSlotReads<MeasurementFile>(FullFile),
            {2000, 101}};
}

// The newest record's search in the current file of the ring, which is not full.
void searchBare(int fd) {
    readSlotBare<MeasurementFile>(fd, Slots - 1);
    for (int low = 0, high = Slots - 1; low + 1 < high;) {
        int const middle = low + (high - low) / 2;
        readSlotBare<MeasurementFile>(fd, middle);
        (middle <= NewestSlot ? low : high) = middle;
    }
}

Row startUpByPointer() {
    auto const library = [] { return [] { BasicMeasurementLog const log; }; };
    auto const bare = [] {
        return [pointer = pointerPath(), current = path(Kind, CurrentFile),
                next = path(Kind, CurrentFile + 1)] {
            {
                char text[16];
                struct stat status {};
                Fd const in(open(pointer.c_str(), O_RDONLY));
                require(fstat(in, &status) == 0 && read(in, text, sizeof text) > 0 &&
                            read(in, text, sizeof text) == 0,
                        "pointer");
            }
            Fd const fd = openBare<MeasurementFile>(current.c_str(), 1);
            { Fd const behind = openBare<MeasurementFile>(next.c_str(), 2); }
            searchBare(fd);
        };
    };
    return {"start-up of the measurement log by its pointer",
            1.4,
            side("library", library),
            side("bare", bare),
            {50, 51}};
}

Row startUpByWalk() {
    auto const library = [] {
        unlink(pointerPath().c_str());
        return [] { BasicMeasurementLog const log; };
    };
    auto const bare = [] {
        unlink(pointerPath().c_str());
        std::vector<std::string> paths;
        for (int i = 0; i <= CurrentFile + 1; ++i) paths.push_back(path(Kind, i));
        return [paths] {
            Fd current;
            for (int i = 0; i <= CurrentFile; ++i) {
                current = openBare<MeasurementFile>(paths[static_cast<std::size_t>(i)].c_str(),
                                                    i > 0 ? 2 : 1);
            }
            { Fd const behind = openBare<MeasurementFile>(paths.back().c_str(), 2); }
            searchBare(current);
            // No pointer, neither here nor in the backup.
            require(open(pointerPath().c_str(), O_RDONLY) == -1, "pointer");
            require(open("/mnt/sysdata/veklogs/currentMeasurementLog", O_RDONLY) == -1, "backup");
            Fd const out(open(pointerPath().c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666));
            require(write(out, "200", 3) == 3 && fsync(out) == 0, "pointer");
        };
    };
    return {"start-up by walking 202 files",
            0,
            side("library", library),
            side("bare", bare),
            {1, 51, true}};
}

Row dateToIndex(MeasurementRing const& ring) {
    auto const library = [ring] {
        return [log = enabledLog<BasicMeasurementLog>(), dates = ring.dates(),
                i = std::size_t{0}]() mutable {
            benchmark::DoNotOptimize(log->dateToIndex(dates[i++ % dates.size()]));
        };
    };
    auto const bare = [ring] {
        std::vector<std::vector<Probe>> probes;
        for (unsigned const date : ring.dates()) probes.push_back(ring.probes(date));
        return [probes, current = openBare<MeasurementFile>(path(Kind, CurrentFile).c_str(), 1),
                other = Fd(), opened = -1, i = std::size_t{0}]() mutable {
            for (Probe const& probe : probes[i++ % probes.size()]) {
                if (probe.file != CurrentFile && probe.file != opened) {
                    other = openBare<MeasurementFile>(probe.path.c_str(), 1);
                    opened = probe.file;
                }
                if (probe.slot == 0) continue;  // answered from the opening
                readSlotBare<MeasurementFile>(probe.file == CurrentFile ? current : other,
                                              probe.slot);
            }
        };
    };
    return {"dateToIndex over 26 million records",
            1.4,
            side("library", library),
            side("bare", bare),
            {32, 51}};
}

Row exportFile(MeasurementRing const& ring) {
    auto const library = [from = ring.timeAt(FullFile, 0)] {
        return [log = enabledLog<BasicMeasurementLog>(), to = dataPath("export"), from] {
            require(log->SaveToFile(to.c_str(), from, from + Slots - 1), "export");
        };
    };
    auto const bare = [from = ring.timeAt(FullFile, 0)] {
        std::vector<MeasurementRecord> records;
        for (int i = 0; i < Slots; ++i) records.push_back(recordAt(Kind, from + i));
        return [records, to = dataPath("export")] {
            std::FILE* const out = std::fopen(to.c_str(), "w");
            char date[100];
            char time[100];
            for (auto const& record : records) {
                std::fprintf(out, "%s\t%s\t%s\n", record.GetDateText(date, sizeof date),
                             record.GetTimeText(time, sizeof time), record.asText().c_str());
            }
            require(std::fclose(out) == 0, "fclose");
        };
    };
    return {"export a file's worth of measurements",
            1.5,
            side("library", library),
            side("texts", bare),
            {1, 15}};
}

}  // namespace

void measurementRows() {
    printRow(appendRow<BasicMeasurementLog, MeasurementFile>(
        "append a measurement, with the log's lock", 0.90));
    printRow(move());
    MeasurementRing const ring(Capacity);
    printRow(single());
    printRow(fetch());
    printRow(startUpByPointer());
    printRow(dateToIndex(ring));
    printRow(exportFile(ring));
    printRow(startUpByWalk());
}

}  // namespace bench
