#pragma once

#include <cstdint>
#include <vector>

#include "Files.h"

namespace bench {

constexpr int Capacity = 400 * Slots;
// Where the newest record of a full ring lies, and a file of it that is filled
// throughout, as the one being written is.
constexpr int CurrentFile = 200;
constexpr int NewestSlot = 30000;
constexpr int FullFile = 199;

struct Probe {
    int file;
    int slot;
};

// A measurement log of any size up to the full ring, fabricated: sparse files
// that hold every record that is going to be looked at, one per second.
class MeasurementRing {
  public:
    // Makes the files, with the records that searches for dates() look at.
    explicit MeasurementRing(int records);

    static std::int32_t timeOf(int age);  // of a record, counted from the oldest
    int ageOf(int file, int slot) const {
        return (file * Slots + slot - mFirst + Capacity) % Capacity;
    }
    // Spread over all that is held.
    std::vector<unsigned> dates() const;
    // What a search for the date reads, in its order.
    std::vector<Probe> probes(unsigned date) const;

  private:
    Probe placeOf(int age) const;
    void fill(int file, int slots) const;

    int mRecords;
    int mFirst;
};

}  // namespace bench
