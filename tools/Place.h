#pragma once

#include <cstdint>
#include <memory>
#include <type_traits>
#include <vector>

#include "Log.h"
#include "Times.h"
#include "files/FileNames.h"
#include "files/PointerFile.h"
#include "logs/FileWindow.h"
#include "logs/RingPosition.h"
#include "logs/StartUpWalk.h"

namespace ZEB::tool {

// Where a log is being written.
template <class Kind>
struct Place {
    std::shared_ptr<LogFile<Kind>> current;  // empty when nothing was ever written
    bool wrapped = false;
    // The files contradict the pointer, and their times of modification, which a copy may
    // have lost, were looked at to decide between them.
    bool byModification = false;
    HeldRange held;

    int newestSlot() const { return current ? current->recentRecordIndex() : -1; }
};

enum class Gaps {
    EndTheLog,  // as the instrument takes them
    AreSkipped  // the records after them are still worth reading
};

template <class Kind>
std::optional<int> pointedFile(Log<Kind> const& log) {
    int index = 0;
    bool const found = std::is_same_v<Kind, MeasurementKind> && !log.single &&
                       readPointer(pointerPath(log.directory).c_str(), &index);
    return found ? std::optional(index) : std::nullopt;
}

// The file that the pointer names.
template <class Kind>
struct NamedLogFile {
    Log<Kind> const& log;
    LogFile<Kind>& file;
    bool& byModification;

    NamedFile state() const {
        auto const unfit = log.faulty.find(file.mFileIndex);
        if (unfit != log.faulty.end() && unfit->second.fault.unreadable) {
            return NamedFile::NotOpened;
        }
        if (!file.mFirstRecord.isValid()) return NamedFile::NotBegun;
        byModification = true;
        bool const begun =
            modifiedSincePointer(file.path().c_str(), pointerPath(log.directory).c_str());
        return begun ? NamedFile::Begun : NamedFile::NotBegun;
    }
    std::int32_t timeAt(int slot) const { return file.readRecord(slot).timeStamp().seconds(); }
};

// Whether files with newer records show that a pointer's file is not the one being
// written, though the log itself would go on with it: the last one, which it always goes
// on with, or one that has not been begun.
template <class Kind>
bool isRefuted(Log<Kind> const& log, LogFile<Kind>& named) {
    bool const isLast = named.mFileIndex == log.ring.files - 1;
    auto const next = isLast ? log.open(0) : log.openFrom(named.mFileIndex + 1);
    if (!next || factsOf(*next).firstTime < factsOf(named).firstTime) return false;
    bool looked = false;
    return isLast ? factsOf(*next).firstTime > factsOf(named).firstTime
                  : NamedLogFile<Kind>{log, named, looked}.state() != NamedFile::Begun;
}

// Goes the way of the log's own start, with nothing made, moved or restored.
template <class Kind>
Place<Kind> findPlace(Log<Kind> const& log, Gaps gaps) {
    Place<Kind> found;
    auto& current = found.current;
    auto const open = [&](int index) {
        return gaps == Gaps::EndTheLog ? log.open(index) : log.openFrom(index);
    };
    auto const named = pointedFile(log);
    if (named) {
        current = log.open(*named);
        if (gaps == Gaps::EndTheLog) {
            if (!current) current = std::make_shared<LogFile<Kind>>(*named);
        } else if (current && (factsOf(*current).isEmpty() || isRefuted(log, *current))) {
            current.reset();
        }
    }
    bool const byPointer = current != nullptr;
    if (!byPointer) {
        // A single file's records count whatever their time.
        current = log.isRing() ? open(0) : log.open(0);
        if (!current || (log.isRing() && factsOf(*current).isEmpty())) return {};
    }
    FileFacts const start = factsOf(*current);
    NamedLogFile<Kind> const namedFile{log, *current, found.byModification};
    FileWindow look(current, open);
    auto const place = byPointer ? placeByPointer(start, log.ring, look, namedFile)
                                 : walk(start, log.ring.files, look);
    if (place.file.index != start.index) current = look.at(place.file.index);
    found.held = heldAt(place, current->recentRecordIndex(), log.ring);
    if (!log.isRing() && current->holdsSeam()) {
        found.held = {current->recentRecordIndex() + 1, log.ring.capacity()};
    }
    found.wrapped = found.held.first > 0 || current->holdsSeam();
    return found;
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
    // The current file ends the round; what it holds after the newest record
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
