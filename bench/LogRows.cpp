#include <cstdio>
#include <random>

#include "BasicLightSourceLog.h"
#include "MeasurementRing.h"
#include "Rows.h"

namespace bench {

using ZEB::BasicEventLog;
using ZEB::BasicLightSourceLog;
using ZEB::BasicMeasurementLog;

namespace {

// Slots in random order, never slot 0, which a file object answers from memory.
class SomeSlot {
  public:
    int operator()() { return static_cast<int>(1 + mRandom() % (Slots - 1)); }

  private:
    std::minstd_rand mRandom;
};

template <class Kind>
Row single(std::string work, int file) {
    auto const library = [file] {
        return [log = enabledLog<typename Kind::Log>(), file, slot = SomeSlot()]() mutable {
            Kind::read(*log, file * Slots + slot());
        };
    };
    auto const bare = [file] {
        return [fd = openFile(Kind::path(file)), slot = SomeSlot()]() mutable {
            readSlot<Kind>(fd, slot());
        };
    };
    return {std::move(work), 1.15, {3000, 101}, side(library), side(bare)};
}

// The first record of file 1, written when file 0 is full. prepare and before do
// what the log does beyond moving from file to file: in the set-up, and in the
// bare move.
template <class Kind, class Prepare, class Before>
Row move(std::string work, Prepare prepare, Before before) {
    auto const fullFile = [prepare] {
        emptyData();
        makeFull<Kind>(0, 1000);
        prepare();
    };
    auto const library = [fullFile] {
        fullFile();
        return [log = enabledLog<typename Kind::Log>(), record = Kind::record(99000)] {
            log->writeRecord(record);
        };
    };
    auto const bare = [fullFile, before] {
        fullFile();
        return [before, fd = openSound<Kind>(Kind::path(0), 1), hidden = dataPath(".new"),
                path = Kind::path(1)]() mutable {
            struct stat status {};
            before();
            stat(path.c_str(), &status);
            { Fd const made = makeAllocated(hidden, slotAt<Kind>(Slots)); }
            require(rename(hidden.c_str(), path.c_str()) == 0, "rename");
            fd = openFile(path);
            ZEB::FileHeader const header = headerOf<Kind>();
            writeAt(fd, header.cookie, 12, 0);
            writeAt(fd, &header.version, 2, 12);
            writeAt(fd, &header.recordSize, 2, 14);
            writeAt(fd, &header.recordCount, 2, 16);
            writeSlot<Kind>(fd, 0);
        };
    };
    return {std::move(work), 1.3, {1, 500, true}, side(library), side(bare), true};
}

template <class Log>
Side startUp() {
    return side([] { return [] { Log const log; }; });
}

template <class Kind>
std::vector<std::string> firstPaths(int count) {
    std::vector<std::string> paths;
    for (int i = 0; i < count; ++i) paths.push_back(Kind::path(i));
    return paths;
}

Row eventStartUp() {
    auto const bare = [] {
        return [paths = firstPaths<Events>(BasicEventLog::getFileCount())] {
            for (auto const& path : paths) openSound<Events>(path, 2);
        };
    };
    return {"start-up of the event log, 200 full files",
            1.3,
            {1, 101},
            startUp<BasicEventLog>(),
            side(bare)};
}

void eventRows() {
    auto const before = [backup = dataPath("../backup/data/event_log-1-2-7#1.vek")] {
        struct stat status {};
        stat(backup.c_str(), &status);
    };
    printRow(appendRow<Events>("append an event", 1.10));
    printRow(move<Events>(
        "move to a new event file", [] {}, before));
    emptyData();
    {
        auto const log = enabledLog<BasicEventLog>();
        for (int i = 0; i < Slots; ++i) log->writeRecord(Events::record(1000 + i));
    }
    printRow(single<Events>("one event by index, current file", 0));
    printRow(fetchRow<Events>("fetch a full event file", 3.0, 0));
    for (int i = 1; i < BasicEventLog::getFileCount(); ++i) makeFull<Events>(i, 1000 + Slots * i);
    printRow(eventStartUp());
}

// The newest record's search in the current file of the ring, which is not full.
void search(int fd) {
    readSlot<Measurements>(fd, Slots - 1);
    for (int low = 0, high = Slots - 1; low + 1 < high;) {
        int const middle = low + (high - low) / 2;
        readSlot<Measurements>(fd, middle);
        (middle <= NewestSlot ? low : high) = middle;
    }
}

void readPointer(std::string const& path) {
    char text[16];
    struct stat status {};
    Fd const in = openFile(path, O_RDONLY);
    require(fstat(in, &status) == 0 && read(in, text, sizeof text) > 0 &&
                read(in, text, sizeof text) == 0,
            "pointer");
}

void writePointer(std::string const& path, std::string const& text) {
    Fd const out = openFile(path, O_WRONLY | O_CREAT | O_TRUNC);
    writeAt(out, text.data(), text.size(), 0);
    require(fsync(out) == 0, "fsync");
}

Row startUpByPointer() {
    auto const bare = [] {
        return [pointer = pointerPath(), current = Measurements::path(CurrentFile),
                next = Measurements::path(CurrentFile + 1)] {
            readPointer(pointer);
            Fd const fd = openSound<Measurements>(current, 1);
            { Fd const following = openSound<Measurements>(next, 2); }
            search(fd);
        };
    };
    return {"start-up of the measurement log by its pointer",
            1.4,
            {50, 51},
            startUp<BasicMeasurementLog>(),
            side(bare)};
}

Row startUpByWalk() {
    auto const library = [] {
        unlink(pointerPath().c_str());
        return [] { BasicMeasurementLog const log; };
    };
    auto const bare = [] {
        unlink(pointerPath().c_str());
        return [paths = firstPaths<Measurements>(CurrentFile + 2), pointer = pointerPath()] {
            Fd current = openSound<Measurements>(paths[0], 1);
            for (std::size_t i = 1; i <= CurrentFile; ++i) {
                current = openSound<Measurements>(paths[i], 2);
            }
            { Fd const following = openSound<Measurements>(paths.back(), 2); }
            search(current);
            // No pointer, neither here nor in the backup.
            require(open(pointer.c_str(), O_RDONLY) == -1, "pointer");
            require(open("/mnt/sysdata/veklogs/currentMeasurementLog", O_RDONLY) == -1, "backup");
            writePointer(pointer, "200");
        };
    };
    return {"start-up by walking 202 files", 0, {1, 51, true}, side(library), side(bare)};
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
        return [probes, paths = firstPaths<Measurements>(400),
                current = openSound<Measurements>(Measurements::path(CurrentFile), 1),
                other = Fd(-1), opened = -1, i = std::size_t{0}]() mutable {
            for (Probe const& probe : probes[i++ % probes.size()]) {
                if (probe.file != CurrentFile && probe.file != opened) {
                    other = openSound<Measurements>(paths[static_cast<std::size_t>(probe.file)], 1);
                    opened = probe.file;
                }
                if (probe.slot == 0) continue;  // answered from the opening
                readSlot<Measurements>(probe.file == CurrentFile ? current : other, probe.slot);
            }
        };
    };
    return {"dateToIndex over 26 million records", 1.4, {32, 51}, side(library), side(bare)};
}

Row exportFile(MeasurementRing const& ring) {
    std::int32_t const from = MeasurementRing::timeOf(ring.ageOf(FullFile, 0));
    auto const library = [from] {
        return [log = enabledLog<BasicMeasurementLog>(), to = dataPath("export"), from] {
            require(log->SaveToFile(to.c_str(), from, from + Slots - 1), "export");
        };
    };
    auto const texts = [from] {
        std::vector<ZEB::MeasurementRecord> records;
        for (int i = 0; i < Slots; ++i) records.push_back(Measurements::record(from + i));
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
    return {"export a file's worth of measurements", 1.5, {1, 15}, side(library), side(texts)};
}

void measurementRows() {
    printRow(appendRow<Measurements>("append a measurement, with the log's lock", 1.12));
    printRow(move<Measurements>(
        "move to a new measurement file", [] { setPointer(0); },
        [pointer = pointerPath()] { writePointer(pointer, "1"); }));
    MeasurementRing const ring(Capacity);
    printRow(single<Measurements>("one measurement by index", FullFile));
    printRow(fetchRow<Measurements>("fetch a full measurement file", 2.4, FullFile));
    printRow(startUpByPointer());
    printRow(dateToIndex(ring));
    printRow(exportFile(ring));
    printRow(startUpByWalk());
}

void lampRows() {
    { BasicLightSourceLog const log; }  // makes the file
    auto const appendLibrary = [] {
        return [log = std::make_unique<BasicLightSourceLog>(), key = 0]() mutable {
            log->newRecord(ZEB::LightSourceRecord(ZEB::TimeStamp(1000), 1, ++key));
        };
    };
    auto const path = [] { return std::string(ZEB::LightSourceFile::getFileNameFormat()); };
    auto const appendBare = [path] {
        return [fd = openFile(path())] {
            writeSlot<Lamps>(fd, 5);
            sync();
        };
    };
    printRow({"append a lamp record, with its sync()",
              0,
              {1, 51, true},
              side(appendLibrary),
              side(appendBare)});
    auto const startBare = [path] {
        return [path = path()] {
            char bytes[ZEB::HeaderSize + Lamps::File::RecordSize];
            int const last = Lamps::File::getRecordCount() - 1;
            Fd const fd = openFile(path, O_RDWR | O_CREAT);
            lseek(fd, 0, SEEK_END);
            readAt(fd, bytes, sizeof bytes, 0);
            readSlot<Lamps>(fd, last);  // is it full?
            readSlot<Lamps>(fd, last);  // where is the newest?
            for (int low = 0, high = last; low + 1 < high;) {
                int const middle = low + (high - low) / 2;
                readSlot<Lamps>(fd, middle);
                high = middle;
            }
        };
    };
    printRow({"start-up of the lamp log",
              0,
              {100, 51},
              startUp<BasicLightSourceLog>(),
              side(startBare)});
}

}  // namespace

void logRows() {
    printTableHead();
    eventRows();
    measurementRows();
    lampRows();
}

}  // namespace bench
