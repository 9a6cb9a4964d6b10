#include "MeasurementRing.h"

namespace bench {

MeasurementRing::MeasurementRing(int records)
    : mRecords(records), mFirst(records == Capacity ? CurrentFile * Slots + NewestSlot + 1 : 0) {
    emptyData();
    int const files = (records + Slots - 1) / Slots;
    for (int file = 0; file < files; ++file) {
        putRecord<Measurements>(makeSparse<Measurements>(file), 0, timeOf(ageOf(file, 0)));
    }
    Probe const newest = placeOf(records - 1);
    fill(newest.file, records == Capacity ? Slots : newest.slot + 1);
    if (files > FullFile) fill(FullFile, Slots);
    for (unsigned const date : dates()) {
        for (Probe const& probe : probes(date)) {
            putRecord<Measurements>(openFile(Measurements::path(probe.file)), probe.slot,
                                    timeOf(ageOf(probe.file, probe.slot)));
        }
    }
    setPointer(newest.file);
}

std::int32_t MeasurementRing::timeOf(int age) { return 1000000000 + age; }

Probe MeasurementRing::placeOf(int age) const {
    auto const position = static_cast<int>((std::int64_t{mFirst} + age) % Capacity);
    return {position / Slots, position % Slots};
}

std::vector<unsigned> MeasurementRing::dates() const {
    std::vector<unsigned> dates;
    for (int i = 1; i < 64; i += 2) {
        dates.push_back(static_cast<unsigned>(timeOf(0) + std::int64_t{mRecords} * i / 64));
    }
    return dates;
}

std::vector<Probe> MeasurementRing::probes(unsigned date) const {
    std::vector<Probe> found;
    auto const read = [&](int age) {
        found.push_back(placeOf(age));
        return static_cast<unsigned>(timeOf(age));
    };
    for (int low = 0, high = mRecords - 1; low < high;) {
        // Both are read before either is judged, as in the log.
        unsigned const lowTime = read(low);
        unsigned const highTime = read(high);
        if (lowTime >= date || highTime <= date) break;
        int const middle = low + (high - low) / 2;
        if (date <= read(middle)) {
            high = middle;
        } else {
            low = middle + 1;
        }
    }
    return found;
}

// So that the newest record's search, fetches and exports find what they would in
// a real file. One by one, as a log does: after a large write, later small ones
// cost several times as much on ext4.
void MeasurementRing::fill(int file, int slots) const {
    Fd const fd = openFile(Measurements::path(file));
    for (int slot = 0; slot < slots; ++slot) {
        putRecord<Measurements>(fd, slot, timeOf(ageOf(file, slot)));
    }
}

}  // namespace bench
