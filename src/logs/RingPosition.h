#pragma once

#include <cstdint>
#include <limits>

namespace ZEB {

// The shape of a log: a ring of files with the same number of slots each.
struct Ring {
    int files;
    int slotsPerFile;

    int capacity() const { return files * slotsPerFile; }
};

// How many files a log has, with large and with small storage.
constexpr int EventFiles = 200;
constexpr int SmallEventFiles = 9;
constexpr int MeasurementFiles = 400;
constexpr int SmallMeasurementFiles = 5;

struct RingPosition {
    int file;
    int slot;
};

// A ring without slots (a foreign header that was refused can leave one) has no place for any
// record.
inline RingPosition ringPosition(std::uint64_t index, Ring ring) {
    if (ring.capacity() == 0) return {0, -1};
    auto const position = static_cast<int>(index % static_cast<std::uint64_t>(ring.capacity()));
    return {position / ring.slotsPerFile, position % ring.slotsPerFile};
}

inline int clampedToInt(std::int64_t value) {
    constexpr std::int64_t Max = std::numeric_limits<int>::max();
    constexpr std::int64_t Min = std::numeric_limits<int>::min();
    return static_cast<int>(value > Max ? Max : value < Min ? Min : value);
}

// The record indices that a log holds: count of them, from first on.
struct HeldRange {
    int first = 0;
    int count = 0;

    std::int64_t end() const { return std::int64_t{first} + count; }

    // Makes room for one more index. Before indices reach 2^31 they are reduced by
    // whole rounds of the ring, so that no position changes.
    void keepBelowLimit(Ring ring) {
        if (end() >= std::numeric_limits<int>::max() && ring.capacity() > 0) {
            first %= ring.capacity();
        }
    }

    void addOne(Ring ring) {
        if (count < ring.capacity()) {
            ++count;
        } else {
            ++first;
        }
    }
};

}  // namespace ZEB
