#pragma once

#include <utility>

#include "files/RecordKey.h"

namespace ZEB {

// The newest record of a file whose slot 0 is in use.
template <class Record>
struct NewestSlot {
    Record record;
    int slot;
    int usedSlots;
};

// Slots are written in order. If the last one is in use and older than slot 0, the file is
// being written again: newer records from slot 0 on, then the older ones. So the last
// slot tells which run to look at, the used one or the newer one, and a bisection finds its
// end. first is slot 0's record; read(slot) gives the record of another slot.
template <class Record, class Read>
NewestSlot<Record> findNewestSlot(Record const& first, int slots, Read const& read) {
    int const last = slots - 1;
    Record const lastRecord = read(last);
    bool const full = lastRecord.isValid();
    if (full && recordKey(lastRecord) >= recordKey(first)) return {lastRecord, last, slots};

    NewestSlot<Record> newest{first, 0, slots};
    for (int low = 0, high = last; low + 1 < high;) {
        int const middle = low + (high - low) / 2;
        Record record = read(middle);
        bool const inRun = full ? recordKey(record) >= recordKey(newest.record) : record.isValid();
        if (inRun) {
            low = middle;
            newest.record = std::move(record);
            newest.slot = middle;
        } else {
            high = middle;
        }
    }
    if (!full) newest.usedSlots = newest.slot + 1;
    return newest;
}

}  // namespace ZEB
