#include "Files.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace bench {

namespace fs = std::filesystem;

namespace {
fs::path data;
}

std::string Events::path(int file) {
    return dataPath("event_log-1-2-7#" + std::to_string(file) + ".vek");
}

ZEB::EventMsg Events::record(std::int32_t time) {
    return {ZEB::TimeStamp(time, 1, 2), 7, 1, "lamp warmed up"};
}

void Events::read(Log& log, int index) {
    ZEB::EventMsg record;
    log.GetRecord(&record, static_cast<unsigned long>(index));
    benchmark::DoNotOptimize(record);
}

std::string Measurements::path(int file) {
    return dataPath("measurement_log" + std::to_string(file) + ".vek");
}

ZEB::MeasurementRecord Measurements::record(std::int32_t time) {
    ZEB::MeasurementRecord record(ZEB::TimeStamp(time, 1, 2), 3, 1);
    record.setValue(0, ZEB::MeasurementRecord::ValueKind::Absorbance, 0.25);
    record.setValue(1, ZEB::MeasurementRecord::ValueKind::Temperature, 293.15);
    return record;
}

void Measurements::read(Log& log, int index) { benchmark::DoNotOptimize(log.getRecord(index)); }

void useRoot(std::string const& root) {
    fs::remove_all(root);
    for (char const* name : {"data", "settings", "backup/data", "backup/settings"}) {
        fs::create_directories(fs::path(root) / name);
    }
    data = fs::path(root) / "data";
    setenv("VEK_ROOT", root.c_str(), 1);
    require(Measurements::path(399).size() < 100, "a shorter directory");
}

std::string dataPath(std::string const& name) { return data / name; }

void emptyData() {
    for (auto const& entry : fs::directory_iterator(data)) fs::remove_all(entry);
}

std::string pointerPath() { return dataPath("currentMeasurementLog"); }

void setPointer(int file) { std::ofstream(pointerPath()) << file; }

void fail(char const* what) {
    std::perror(what);
    std::exit(2);
}

Fd openFile(std::string const& path, int flags) {
    Fd fd(open(path.c_str(), flags, 0600));
    require(fd != -1, path.c_str());
    return fd;
}

Fd makeAllocated(std::string const& path, std::int64_t size) {
    Fd fd = openFile(path, O_RDWR | O_CREAT | O_EXCL);
    require(posix_fallocate(fd, 0, size) == 0, "posix_fallocate");
    return fd;
}

}  // namespace bench
