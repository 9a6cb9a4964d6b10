#pragma once

#include <cstdint>
#include <memory>
#include <type_traits>
#include <vector>

#include "Log.h"
#include "Times.h"
#include "files/FileNames.h"
#include "files/PointerFile.h"
#include "logs/RingPosition.h"
#include "logs/StartUpWalk.h"

namespace ZEB::tool {

// Where a log is being written.
template <class Kind>
struct Place {
    std::shared_ptr<LogFile<Kind>> current;  // empty when nothing was ever written
    bool wrapped = false;
    HeldRange held;

    int newestSlot() const { return current ? current->recentRecordIndex() : -1; }
};

enum class Gaps {
    EndTheLog,  // as the instrument takes them
    AreSkipped  // the records behind them are still worth reading
};

template <class Kind>
std::optional<int> pointedFile(Log<Kind> const& log) {
    int index = 0;
    bool const found = std::is_same_v<Kind, MeasurementKind> && !log.single &&
                       readPointer(pointerPath(log.directory).c_str(), &index);
    return found ? std::optional(index) : std::nullopt;
}

// A file behind which the log itself does not look, since it is the last, and yet
// file 0 is newer.
template <class Kind>
bool isRefuted(Log<Kind> const& log, LogFile<Kind> const& named) {
    auto const start = log.open(0);
    return named.mFileIndex == log.ring.files - 1 && start && firstTime(*start) > firstTime(named);
}

// Goes the way of the log's own start, with nothing made, moved or restored.
template <class Kind>
Place<Kind> findPlace(Log<Kind> const& log, Gaps gaps) {
    Place<Kind> place;
    auto& current = place.current;
    auto const open = [&](int index) {
        return gaps == Gaps::EndTheLog ? log.open(index) : log.openFrom(index);
    };
    auto const named = pointedFile(log);
    if (named) {
        current = log.open(*named);
        if (gaps == Gaps::EndTheLog) {
            if (!current) current = std::make_shared<LogFile<Kind>>(*named);
        } else if (current && (isEmpty(*current) || isRefuted(log, *current))) {
            current.reset();
        }
    }
    if (current) {
        place.held = heldByPointer(current, log.ring, open);
    } else {
        // A single file's records count whatever their time.
        current = log.isRing() ? open(0) : log.open(0);
        if (!current || (log.isRing() && isEmpty(*current))) return {};
        place.held = heldAt(*current, walk(current, log.ring.files, open), log.ring);
        if (!log.isRing() && current->holdsSeam()) {
            place.held = {current->recentRecordIndex() + 1, log.ring.capacity()};
        }
    }
    place.wrapped = place.held.first > 0 || current->holdsSeam();
    return place;
}

// A run of slots of one file.
struct Span {
    int file;
    int first;
    int count;
};

// All slots of all sound files, the oldest records first.
template <class Kind>
std::vector<Span> spansOf(Log<Kind> const& log, Place<Kind> const& place) {
    int const slots = log.ring.slotsPerFile;
    std::vector<Span> before;
    std::vector<Span> after;
    for (auto const& [index, path] : log.paths) {
        bool const isLater = place.wrapped && index > place.current->mFileIndex;
        (isLater ? after : before).push_back({index, 0, slots});
    }
    if (!place.wrapped) return before;
    // The current file ends the round; what it holds behind the newest record
    // begins it.
    std::vector<Span> spans;
    int const olderFrom = place.newestSlot() + 1;
    if (olderFrom < slots) {
        spans.push_back({place.current->mFileIndex, olderFrom, slots - olderFrom});
    }
    spans.insert(spans.end(), after.begin(), after.end());
    spans.insert(spans.end(), before.begin(), before.end());
    spans.back().count = olderFrom;
    return spans;
}

}  // namespace ZEB::tool
