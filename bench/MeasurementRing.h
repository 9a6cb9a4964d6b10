#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Files.h"

namespace bench {

// A measurement log of any size up to the full ring, fabricated: sparse files
// that hold every record that is going to be looked at, one per second.

constexpr int Capacity = 400 * Slots;
// Where the newest record of a full ring lies, and a file of it that is filled
// throughout, as the one being written is.
constexpr int CurrentFile = 200;
constexpr int NewestSlot = 30000;
constexpr int FullFile = 199;

struct Probe {
    int file;
    int slot;
    std::string path;
};

class MeasurementRing {
  public:
    // Makes the files, with the records that searches for dates() look at.
    explicit MeasurementRing(int records);

    int currentFile() const { return position(mRecords - 1) / Slots; }
    int currentSlot() const { return position(mRecords - 1) % Slots; }
    std::int32_t timeAt(int file, int slot) const;
    // Spread over all that is held.
    std::vector<unsigned> dates() const;
    // What a search for the date reads, in its order.
    std::vector<Probe> probes(unsigned date) const;

  private:
    int position(int age) const;  // of a record, counted from the oldest
    void fill(int file) const;

    int mRecords;
    int mFirst;
};

void setPointer(int file);
std::string pointerPath();

}  // namespace bench
