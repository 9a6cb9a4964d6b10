#pragma once

#include <cstdint>
#include <limits>

#include "logs/RingPosition.h"

namespace ZEB {

// Finds where a log goes on after a restart from what its files show. Nothing here
// reads a file: look(index) gives the facts of one.

struct FileFacts {
    int index = 0;
    std::int32_t firstTime = 0;  // of the record in slot 0; 0 for a file that is missing

    // The logs take a file whose first time is 0 or less for empty, even if its slot 0
    // is in use.
    bool isEmpty() const { return firstTime <= 0; }
};

// How a file and the next one in the ring meet.
enum class Seam {
    NoNext,       // the next one is missing or empty
    Older,        // it is older: the ring has wrapped
    NotOlder,     // it is not older: the log has moved on to it
    LastFile,     // there is no next one: the file is the ring's last
    OldAfterLast  // a foreign file with older records follows the last one
};

struct Place {
    FileFacts file;  // the one being written
    Seam seam;
};

inline Seam seamBetween(FileFacts const& file, FileFacts const& next) {
    if (next.isEmpty()) return Seam::NoNext;
    return file.firstTime > next.firstTime ? Seam::Older : Seam::NotOlder;
}

// The place that the files alone show: the first file, from current on, whose next one
// is missing, empty or older.
template <class Look>
Place walk(FileFacts current, int fileCount, Look& look) {
    while (current.index < fileCount - 1) {
        FileFacts const next = look(current.index + 1);
        Seam const seam = seamBetween(current, next);
        if (seam != Seam::NotOlder) return {current, seam};
        current = next;
    }
    return {current, Seam::LastFile};
}

// The same, but goes on from the last file to file 0 if that is newer. The seam is
// NotOlder if both have the same time, so that nothing tells which one is newer.
template <class Look>
Place walkRound(FileFacts const& start, int fileCount, Look& look) {
    Place const end = walk(start, fileCount, look);
    if (end.seam != Seam::LastFile) return end;
    FileFacts const zero = look(0);
    if (zero.isEmpty()) return end;  // it may be missing
    if (zero.firstTime == end.file.firstTime) return {end.file, Seam::NotOlder};
    return zero.firstTime > end.file.firstTime ? walk(zero, fileCount, look) : end;
}

// The file that the pointer names.
enum class NamedFile {
    NotOpened,  // it exists, but did not open
    NotBegun,   // no record was written to it after the pointer was written
    Begun
};

// Whether named consists of the first digits of number: a power cut can leave only those
// in a pointer.
inline bool isTornFrom(int number, int named) {
    while (number > named) number /= 10;
    return number == named && named > 0;
}

// Whether the times in a file leap over more than half of the span from its first time to
// the next file's. They do if the clock was set back before the file was begun: its new
// records are then followed by those of the previous round, up to the end of the file.
template <class TimeAt>
bool leaps(std::int32_t first, std::int32_t next, int slots, TimeAt const& timeAt) {
    if (timeAt(slots - 1) <= 0) return false;
    std::int64_t const middle = (std::int64_t{first} + next) / 2;
    std::int64_t before = first;
    std::int64_t after = next;
    for (int low = 0, high = slots; low + 1 < high;) {
        int const slot = low + (high - low) / 2;
        std::int32_t const time = timeAt(slot);
        if (time <= middle) {
            low = slot;
            before = time;
        } else {
            high = slot;
            after = time;
        }
    }
    return 2 * (after - before) > std::int64_t{next} - first;
}

// The file after the named one is not older, so pointer and files disagree. Either the named
// file did not open, or the move to it was cut, or the pointer is out of date or torn, or record
// times are wrong because the clock was set back. namedFile has the file's state() and
// timeAt(slot).
template <class Look, class NamedFileFacts>
Place placeByBoth(FileFacts const& named, FileFacts const& next, Ring ring, Look& look,
                  NamedFileFacts const& namedFile) {
    int const files = ring.files;
    Place const byPointer{named, Seam::Older};
    NamedFile const state = namedFile.state();
    if (state == NamedFile::NotOpened) return byPointer;
    if (named.index < 0 || named.index >= files) return walkRound(named, files, look);

    if (state == NamedFile::NotBegun) {
        // The next file is no older than the named one, so the one before is the newest if it
        // is newer than the next.
        FileFacts const before = look((named.index + files - 1) % files);
        if (before.firstTime > next.firstTime) return {before, Seam::Older};
    }
    Place const byFiles = walkRound(named, files, look);
    if (byFiles.seam == Seam::NotOlder) return byPointer;
    int const afterFound = (byFiles.file.index + 1) % files;
    // Only a ring that has wrapped can show a clock that was set back.
    if (byFiles.seam == Seam::NoNext && afterFound != named.index) return byFiles;
    if (state == NamedFile::NotBegun && isTornFrom(afterFound, named.index)) return byFiles;
    // By the shorter way round the ring, a pointer ahead of the files' place means that the walk
    // stopped where the clock was set back. One behind it is out of date, unless a leap in its
    // file shows that the clock was set back after all.
    int const back = (named.index - byFiles.file.index + files) % files;
    bool const clockWasSetBack =
        2 * back < files || leaps(named.firstTime, next.firstTime, ring.slotsPerFile,
                                  [&](int slot) { return namedFile.timeAt(slot); });
    return clockWasSetBack ? byPointer : byFiles;
}

// The place when a pointer names a file. namedFile is asked only when pointer and files
// disagree.
template <class Look, class NamedFileFacts>
Place placeByPointer(FileFacts const& named, Ring ring, Look& look,
                     NamedFileFacts const& namedFile) {
    if (named.index == std::numeric_limits<int>::max()) return {named, Seam::NoNext};
    FileFacts const next = look(named.index + 1);
    Seam const seam = seamBetween(named, next);
    if (named.index == ring.files - 1) {
        return {named, seam == Seam::Older ? Seam::OldAfterLast : Seam::LastFile};
    }
    if (seam != Seam::NotOlder) return {named, seam};
    return placeByBoth(named, next, ring, look, namedFile);
}

// What the log holds at place, when newestSlot is that file's newest (-1: none). If that is the
// ring's last file, the older records after the newest are not counted, even though their slots
// are in use; and a foreign file after the last one doubles the index. Instruments in the field
// count so too.
inline HeldRange heldAt(Place const& place, int newestSlot, Ring ring) {
    int const upToNewest =
        clampedToInt(std::int64_t{ring.slotsPerFile} * place.file.index + newestSlot + 1);
    switch (place.seam) {
        case Seam::Older:
            return {upToNewest, ring.capacity()};
        case Seam::OldAfterLast:
            return {upToNewest, upToNewest};
        default:
            return {0, upToNewest};
    }
}

}  // namespace ZEB
