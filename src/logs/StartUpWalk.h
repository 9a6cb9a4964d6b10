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

// What follows current; next receives the file behind it when that is Newer.
template <class File>
Seam seamBehind(File const& current, std::shared_ptr<File>& next) {
    std::int64_t const index = std::int64_t{current.mFileIndex} + 1;
    if (index != clampedToInt(index) || !File::FileExist(static_cast<int>(index))) {
        return Seam::NoNext;
    }
    auto candidate = std::make_shared<File>(static_cast<int>(index));
    if (isEmpty(*candidate)) return Seam::NoNext;
    if (firstTime(current) > firstTime(*candidate)) return Seam::Older;
    next = std::move(candidate);
    return Seam::Newer;
}

// Moves current on from file to file until the file being written is found.
template <class File>
Seam walk(std::shared_ptr<File>& current, int fileCount) {
    while (current->mFileIndex < fileCount - 1) {
        Seam const seam = seamBehind(*current, current);
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

}  // namespace ZEB
