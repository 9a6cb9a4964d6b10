#pragma once

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Place.h"
#include "Steady.h"

namespace ZEB::tool {

// What an instrument that starts now would make of the files, by file index.
struct Survey {
    int next = 0;                 // the one it would go on with
    int newest = 0;               // the one with the newest record
    bool byModification = false;  // next hangs on the files' times of modification
    std::vector<int> missing;     // though there are, or have been, files after them
    std::vector<int> hidden;      // sound, with records, but out of its sight

    bool isClean() const {
        return next == newest && !byModification && missing.empty() && hidden.empty();
    }
    bool operator==(Survey const& other) const {
        return next == other.next && newest == other.newest &&
               byModification == other.byModification && missing == other.missing &&
               hidden == other.hidden;
    }
};

// How many files of the ring there should be, at least.
template <class Kind>
int expectedFiles(Log<Kind> const& log, bool wrapped) {
    if (wrapped) return log.ring.files;
    int end = 0;
    for (auto const& [index, path] : log.paths) {
        if (index < log.ring.files) end = std::max(end, index + 1);
    }
    for (auto const& [index, file] : log.faulty) {
        if (index < log.ring.files) end = std::max(end, index + 1);
    }
    return end;
}

// Whether any slot of a file holds a record that the instrument counts.
inline bool isCounted(HeldRange const& held, int file, Ring const& ring) {
    if (file >= ring.files) return false;
    std::int64_t const begin = std::int64_t{file} * ring.slotsPerFile;
    std::int64_t const end = begin + ring.slotsPerFile;
    std::int64_t const first = held.first % ring.capacity();
    std::int64_t const last = first + held.count;  // it may lie a round further on
    return (begin < last && first < end) || begin + ring.capacity() < last;
}

// Whether the log, at its move to the next file, has no record there yet.
template <class Kind>
bool isBetween(Place<Kind> const& newest, int next, Ring const& ring) {
    return newest.newestSlot() == ring.slotsPerFile - 1 &&
           next == (newest.current->mFileIndex + 1) % ring.files;
}

template <class Kind>
Survey surveyOnce(Log<Kind> const& log) {
    Survey survey;
    if (!log.isRing()) return survey;
    Place<Kind> const start = findPlace(log, Gaps::EndTheLog);
    Place<Kind> const newest = findPlace(log, Gaps::AreSkipped);
    survey.next = start.current ? start.current->mFileIndex : 0;
    survey.byModification = start.byModification;
    bool const isSame = !newest.current || isBetween(newest, survey.next, log.ring);
    survey.newest = isSame ? survey.next : newest.current->mFileIndex;
    int const end = expectedFiles(log, newest.wrapped);
    for (int index = 0; index < end; ++index) {
        if (log.paths.count(index) + log.faulty.count(index) == 0) survey.missing.push_back(index);
    }
    for (auto const& [index, path] : log.paths) {
        if (isCounted(start.held, index, log.ring)) continue;
        auto const file = log.open(index);
        if (file && file->mFirstRecord.isValid()) survey.hidden.push_back(index);
    }
    return survey;
}

// The same for a log that may be written meanwhile.
template <class Kind>
Survey surveyOf(Log<Kind> const& log) {
    Survey last = surveyOnce(log);
    if (last.isClean()) return last;
    auto const found = steady([&]() -> std::optional<Survey> {
        last = surveyOnce(lookAgain(log));
        return last.isClean() ? std::nullopt : std::optional(last);
    });
    if (found) return *found;
    Survey clean;
    clean.next = clean.newest = last.next;
    return clean;
}

// "a.vek, c.vek to f.vek"
template <class Kind>
std::string fileNames(Log<Kind> const& log, std::vector<int> const& indices) {
    std::string names;
    for (std::size_t i = 0; i < indices.size(); ++i) {
        std::size_t const first = i;
        while (i + 1 < indices.size() && indices[i + 1] == indices[i] + 1) ++i;
        if (!names.empty()) names += ", ";
        names += log.fileName(indices[first]);
        if (i > first) names += " to " + log.fileName(indices[i]);
    }
    return names;
}

// What is said of an unfit file apart from its fault.
enum class Advice { CopyIt, ShowDamaged, None };

constexpr char const* adviceText(Advice advice) {
    return advice == Advice::CopyIt
               ? "; the instrument replaces this file by an empty one as soon as it opens it (at a "
                 "start, a read or a move): copy it first"
           : advice == Advice::ShowDamaged ? "; --damaged shows what it still holds"
                                           : "";
}

// Says which files are missing, unfit or hidden from the instrument.
template <class Kind>
Survey complainOfLosses(Log<Kind> const& log, Advice advice, Status& status) {
    for (auto const& [index, file] : log.faulty) {
        bool const isDamaged = !file.fault.unreadable;
        status.complain(isDamaged ? Damage : Unreadable, file.path + ": " + file.fault.cause +
                                                             (isDamaged ? adviceText(advice) : ""));
    }
    if (log.paths.empty() && log.faulty.empty()) {
        status.complain(Damage, log.directory + ": " + log.name() + ": no file, but a pointer");
    }
    Survey survey = surveyOf(log);
    if (!survey.missing.empty()) {
        status.complain(Damage, log.directory + ": missing: " + fileNames(log, survey.missing));
    }
    if (!survey.hidden.empty()) {
        status.complain(Damage,
                        log.directory +
                            ": hidden from the instrument, which would not count their records: " +
                            fileNames(log, survey.hidden));
    }
    return survey;
}

}  // namespace ZEB::tool
