#include "MeasurementRing.h"

#include <fstream>

namespace bench {

using ZEB::MeasurementFile;

namespace {

constexpr MeasurementFile* Kind = nullptr;
constexpr std::int32_t OldestTime = 1000000000;

}  // namespace

MeasurementRing::MeasurementRing(int records)
    : mRecords(records), mFirst(records == Capacity ? CurrentFile * Slots + NewestSlot + 1 : 0) {
    emptyData();
    int const files = (records + Slots - 1) / Slots;
    for (int file = 0; file < files; ++file) {
        putAt<MeasurementFile>(makeSparse<MeasurementFile>(file), 0, timeAt(file, 0));
    }
    fill(currentFile());
    if (files > FullFile) fill(FullFile);
    for (unsigned const date : dates()) {
        for (Probe const& probe : probes(date)) {
            Fd const fd(open(probe.path.c_str(), O_RDWR));
            putAt<MeasurementFile>(fd, probe.slot, timeAt(probe.file, probe.slot));
        }
    }
    setPointer(currentFile());
}

int MeasurementRing::position(int age) const {
    return static_cast<int>((std::int64_t{mFirst} + age) % Capacity);
}

std::int32_t MeasurementRing::timeAt(int file, int slot) const {
    return OldestTime + (file * Slots + slot - mFirst + Capacity) % Capacity;
}

std::vector<unsigned> MeasurementRing::dates() const {
    std::vector<unsigned> dates;
    for (int i = 1; i < 64; i += 2) {
        dates.push_back(static_cast<unsigned>(OldestTime + std::int64_t{mRecords} * i / 64));
    }
    return dates;
}

std::vector<Probe> MeasurementRing::probes(unsigned date) const {
    std::vector<Probe> found;
    auto const timeOf = [&](int age) {
        int const file = position(age) / Slots;
        found.push_back({file, position(age) % Slots, path(Kind, file)});
        return static_cast<unsigned>(OldestTime + age);
    };
    for (int low = 0, high = mRecords - 1; low < high;) {
        // Both are read before either is judged, as in the log.
        unsigned const lowTime = timeOf(low);
        unsigned const highTime = timeOf(high);
        if (lowTime >= date || highTime <= date) break;
        int const middle = static_cast<int>((std::int64_t{low} + high) / 2);
        if (date <= timeOf(middle)) {
            high = middle;
        } else {
            low = middle + 1;
        }
    }
    return found;
}

// All slots that are used, so that the newest record's search, fetches and
// exports find what they would in a real file.
void MeasurementRing::fill(int file) const {
    int const used = mRecords == Capacity || file != currentFile() ? Slots : currentSlot() + 1;
    Fd const fd(open(path(Kind, file).c_str(), O_RDWR));
    // One by one, as a log does: after a large write, later small ones cost several
    // times as much on ext4.
    for (int slot = 0; slot < used; ++slot) {
        putAt<MeasurementFile>(fd, slot, timeAt(file, slot));
    }
}

std::string pointerPath() { return dataPath("currentMeasurementLog"); }

void setPointer(int file) { std::ofstream(pointerPath()) << file; }

}  // namespace bench
