#pragma once

#include <cstdint>
#include <memory>
#include <utility>

#include "logs/RingPosition.h"

namespace ZEB {

// Where a log finds itself when it starts, told from the first record of each
// file alone.
enum class Seam {
    NoNext,    // the file behind the current one is missing or empty
    Older,     // it is older: the ring has wrapped
    Newer,     // it is not older: the current file is further on
    LastFile,  // the current file is the ring's last
};

template <class File>
std::int32_t firstTime(File const& file) {
    return file.mFirstRecord.timeStamp().seconds();
}

// To the logs a file whose first time is 0 or less is empty, whatever the file
// itself says of its slot 0.
template <class File>
bool isEmpty(File const& file) {
    return firstTime(file) <= 0;
}

template <class File>
std::shared_ptr<File> openExisting(int index) {
    return File::FileExist(index) ? std::make_shared<File>(index) : nullptr;
}

// In what follows, open(index) opens the file of that index or, where there is
// none, gives an empty pointer.

// What follows current; next receives the file behind it when that is Newer.
template <class File, class Open>
Seam seamBehind(File const& current, std::shared_ptr<File>& next, Open const& open) {
    std::int64_t const index = std::int64_t{current.mFileIndex} + 1;
    if (index != clampedToInt(index)) return Seam::NoNext;
    std::shared_ptr<File> candidate = open(static_cast<int>(index));
    if (!candidate || isEmpty(*candidate)) return Seam::NoNext;
    if (firstTime(current) > firstTime(*candidate)) return Seam::Older;
    next = std::move(candidate);
    return Seam::Newer;
}

// Moves current on from file to file until the file being written is found.
template <class File, class Open>
Seam walk(std::shared_ptr<File>& current, int fileCount, Open const& open) {
    while (current->mFileIndex < fileCount - 1) {
        Seam const seam = seamBehind(*current, current, open);
        if (seam != Seam::Newer) return seam;
    }
    return Seam::LastFile;
}

// What the log holds when current is the file being written. In a wrapped ring
// whose newest record lies in the last file, the older records behind it are not
// counted: nothing tells them apart from a ring that never wrapped.
template <class File>
HeldRange heldAt(File& current, Seam seam, Ring ring) {
    int const upToNewest = clampedToInt(std::int64_t{ring.slotsPerFile} * current.mFileIndex +
                                        current.recentRecordIndex() + 1);
    if (seam == Seam::Older) return {upToNewest, ring.capacity()};
    return {0, upToNewest};
}

// The file before the one that a pointer named, if it is newer than that one and
// the file behind it, as when the move was cut short before the first record of
// this round.
template <class File, class Open>
std::shared_ptr<File> fileBeforeCutMove(File const& named, std::int32_t timeBehind, int fileCount,
                                        Open const& open) {
    if (named.mFileIndex < 0) return nullptr;
    std::shared_ptr<File> before = open((named.mFileIndex == 0 ? fileCount : named.mFileIndex) - 1);
    bool const newer =
        before && firstTime(*before) > firstTime(named) && firstTime(*before) > timeBehind;
    return newer ? before : nullptr;
}

// A pointer named current, whose successor is not older, so the two disagree: moves
// current to the file being written.
template <class File, class Open>
Seam settleByFiles(std::shared_ptr<File>& current, std::int32_t timeBehind, int fileCount,
                   Open const& open) {
    if (auto before = fileBeforeCutMove(*current, timeBehind, fileCount, open)) {
        current = std::move(before);
        return Seam::Older;
    }
    Seam const seam = walk(current, fileCount, open);
    if (seam != Seam::LastFile) return seam;
    std::shared_ptr<File> start = open(0);
    if (!start || firstTime(*start) <= firstTime(*current)) return seam;
    current = std::move(start);
    return walk(current, fileCount, open);
}

// The same as heldAt for a current file that a pointer named; where the files
// contradict it, current moves to the one that they say is being written.
template <class File, class Open>
HeldRange heldByPointer(std::shared_ptr<File>& current, Ring ring, Open const& open) {
    bool const last = current->mFileIndex == ring.files - 1;
    std::shared_ptr<File> next;
    Seam seam = seamBehind(*current, next, open);
    if (seam == Seam::Newer && !last) {
        std::int32_t const timeBehind = firstTime(*next);
        next.reset();
        seam = settleByFiles(current, timeBehind, ring.files, open);
    }
    HeldRange held = heldAt(*current, seam, ring);
    if (last) held.count = heldAt(*current, Seam::LastFile, ring).count;
    return held;
}

}  // namespace ZEB
