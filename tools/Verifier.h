#pragma once

#include <cstring>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "PointerFinding.h"
#include "SlotReader.h"
#include "Survey.h"
#include "Table.h"

namespace ZEB::tool {

using Findings = std::optional<std::vector<Finding>>;

// The first of the slots that share a fault, and their number.
struct Slots {
    int first = -1;
    int count = 0;

    void add(int slot) {
        if (count++ == 0) first = slot;
    }
    Finding finding(std::string cause) const {
        return {first, std::move(cause),
                count > 1 ? " (and " + std::to_string(count - 1) + " more such slots)" : ""};
    }
};

// What verifying tells of a log, row by row.
inline std::vector<Heading> const& verifyHeadings() {
    static std::vector<Heading> const headings{{"file", -26},   {"slot", 5},     {"used", 5},
                                               {"oldest", -27}, {"newest", -27}, {"finding", -5}};
    return headings;
}
using Rows = std::function<void(std::vector<Cell> const&)>;

// Reads every file of a log from its first byte to its last and compares each
// record with the one before it. One row for each sound file, one for each fault.
// Whatever is found is looked at again, since the log may be written meanwhile.
template <class Kind>
class Verifier {
    using Record = typename Kind::Record;

  public:
    Verifier(Log<Kind> const& log, Survey survey, Rows rows, Progress& progress)
        : mLog(log),
          mPlace(findPlace(log, Gaps::AreSkipped)),
          mSurvey(std::move(survey)),
          mRows(std::move(rows)),
          mProgress(progress),
          mReader(progress) {}

    // Returns what the worst finding means.
    ExitCode run() {
        if (mPlace.wrapped) startBehindTheLastFile();
        Log<Kind> const atStart = mLog;  // files made from now on are left out
        int end = expectedFiles(atStart, mPlace.wrapped);
        if (!atStart.paths.empty()) end = std::max(end, atStart.paths.rbegin()->first + 1);
        if (!atStart.faulty.empty()) end = std::max(end, atStart.faulty.rbegin()->first + 1);
        for (int index = 0; index < end; ++index) {
            auto const faulty = atStart.faulty.find(index);
            if (faulty != atStart.faulty.end()) {
                Fault const& fault = faulty->second.fault;
                report(index, {-1, fault.cause, "", fault.unreadable ? Unreadable : Damage});
            } else if (isIn(mSurvey.missing, index)) {
                index = reportGap(index);
            } else if (atStart.paths.count(index) > 0) {
                checkFile(index);
            }
        }
        checkPointer();
        return mWorst;
    }

  private:
    struct Extreme {
        std::int32_t key;
        int slot;
    };

    // What a file holds.
    struct Content {
        Slots used;
        Slots unused;
        Slots afterUnused;
        Slots falls;
        Slots noFractions;
        std::string firstFall;
        Extreme oldest{std::numeric_limits<std::int32_t>::max(), 0};
        Extreme newest{std::numeric_limits<std::int32_t>::min(), 0};
    };

    static bool isIn(std::vector<int> const& indices, int index) {
        return std::binary_search(indices.begin(), indices.end(), index);
    }

    // In a wrapped ring file 0 goes on where the last file ends.
    void startBehindTheLastFile() {
        auto const file = mLog.open(mLog.ring.files - 1);
        if (!file) return;
        Record const record = file->readRecord(mLog.ring.slotsPerFile - 1);
        mHasKey = record.isValid();
        mLastKey = recordKey(record);
    }

    void report(int index, Finding const& finding) {
        std::vector<Cell> cells{mLog.fileName(index), {}, {}, {}, {}, finding.cause + finding.more};
        if (finding.slot >= 0) cells[1] = std::int64_t{finding.slot};
        row(cells);
        mWorst = std::max(mWorst, finding.code);
    }

    // The two may share a terminal.
    void row(std::vector<Cell> const& cells) {
        mProgress.erase();
        mRows(cells);
    }

    // Returns the last file of the gap.
    int reportGap(int first) {
        int last = first;
        while (isIn(mSurvey.missing, last + 1)) ++last;
        std::string const upTo = last > first ? ", as all up to " + mLog.fileName(last) : "";
        report(first, {-1, "gap in the file set: missing" + upTo, ""});
        return last;
    }

    void checkFile(int index) {
        using std::chrono_literals::operator""ms;
        std::vector<Cell> cells;
        bool const hadKey = mHasKey;
        std::int32_t const lastKey = mLastKey;
        int looks = 0;
        auto const findings = steady(
            [&]() -> Findings {
                mHasKey = hadKey;
                mLastKey = lastKey;
                if (looks++ > 0) {
                    mLog = lookAgain(mLog);
                    mPlace = findPlace(mLog, Gaps::AreSkipped);
                }
                return lookAt(index, cells);
            },
            0ms);
        if (findings) {
            for (Finding const& finding : *findings) report(index, finding);
        } else if (!cells.empty()) {
            row(cells);
        }
    }

    // cells receives the row of the file, if it is sound; none when it is gone.
    Findings lookAt(int index, std::vector<Cell>& cells) {
        cells.clear();
        if (index >= mLog.ring.files) {
            return {{{-1, "beyond the ring of " + std::to_string(mLog.ring.files) + " files", ""}}};
        }
        auto const file = mLog.open(index);
        if (!file) return lost(index);
        if (auto const next = mLog.open(index + 1)) next->announce();
        Content content;
        try {
            mReader.begin(file, 0, mLog.ring.slotsPerFile);
            while (mReader.next()) look(index, content);
        } catch (CantRead const& failure) {
            return {{{-1, failure.what(), "", Unreadable}}};
        }
        auto findings = findingsOf(index, *file, content);
        if (!findings.empty()) return findings;
        auto const timeAt = [&](int slot) {
            return content.used.count > 0 ? Cell(timeText(file->readRecord(slot).timeStamp()))
                                          : Cell();
        };
        bool const isHidden = isIn(mSurvey.hidden, index);
        cells = {mLog.fileName(index),
                 {},
                 std::int64_t{content.used.count},
                 timeAt(content.oldest.slot),
                 timeAt(content.newest.slot),
                 isHidden ? "sound, but hidden from the instrument" : "sound"};
        return std::nullopt;
    }

    // The log may have been cleared.
    Findings lost(int index) const {
        if (!exists(mLog.filePath(index).c_str())) return std::nullopt;
        return {{{-1, "changed while it was read", ""}}};
    }

    void look(int index, Content& content) {
        int const slot = mReader.slot();
        Record const& record = mReader.record();
        if (!record.isValid()) {
            content.unused.add(slot);
            return;
        }
        content.used.add(slot);
        if (content.unused.count > 0) content.afterUnused.add(slot);
        TimeStamp const time = record.timeStamp();
        if (time.microseconds() > MaxMicroseconds) content.noFractions.add(slot);
        std::int32_t const key =
            std::is_same_v<Kind, LampKind> ? recordKey(record) : time.seconds();
        if (mHasKey && key < mLastKey && !isSeam(index, slot)) {
            content.falls.add(slot);
            if (content.falls.count == 1) content.firstFall = fallText(key);
        }
        mHasKey = true;
        mLastKey = key;
        if (key < content.oldest.key) content.oldest = {key, slot};
        if (key >= content.newest.key) content.newest = {key, slot};
    }

    std::string fallText(std::int32_t key) const {
        if (std::is_same_v<Kind, LampKind>) {
            return "key falls from " + std::to_string(mLastKey) + " to " + std::to_string(key) +
                   ", not at the seam";
        }
        return "time falls from " + timeText(TimeStamp(mLastKey)) + " to " +
               timeText(TimeStamp(key)) + ", not at the seam";
    }

    // Whether the oldest record of a wrapped ring is expected there.
    bool isSeam(int index, int slot) const {
        if (!mPlace.wrapped) return false;
        if (mPlace.current->holdsSeam()) {
            return index == mPlace.current->mFileIndex && slot == mPlace.newestSlot() + 1;
        }
        auto const next = mLog.paths.upper_bound(mPlace.current->mFileIndex);
        return slot == 0 && index == (next == mLog.paths.end() ? mLog.paths.begin() : next)->first;
    }

    std::vector<Finding> findingsOf(int index, LogFile<Kind> const& file,
                                    Content const& content) const {
        std::vector<Finding> findings;
        bool const isBeforeCurrent = mPlace.current && index != mPlace.current->mFileIndex &&
                                     (mPlace.wrapped || index < mPlace.current->mFileIndex);
        if (content.afterUnused.count > 0) {
            findings.push_back(content.afterUnused.finding("used after unused slot " +
                                                           std::to_string(content.unused.first)));
        } else if (mLog.isRing() && file.mFirstRecord.isValid() && factsOf(file).isEmpty()) {
            findings.push_back(
                {0, "the log takes the file for empty: no time after 1970 began", ""});
        } else if (content.unused.count > 0 && isBeforeCurrent) {
            findings.push_back(content.unused.finding("unused, though later files hold records"));
        }
        if (content.falls.count > 0) {
            findings.push_back(content.falls.finding(content.firstFall));
        }
        if (content.noFractions.count > 0) {
            findings.push_back(content.noFractions.finding("microseconds above 999999"));
        }
        return findings;
    }

    void checkPointer() {
        if constexpr (std::is_same_v<Kind, MeasurementKind>) {
            if (mLog.single) return;
            // It is emptied before it is written.
            constexpr std::chrono::milliseconds Writing{250};
            auto const finding = steady([&] { return pointerFinding(lookAgain(mLog)); }, Writing);
            if (!finding) return;
            row({pointerPath("").substr(1), {}, {}, {}, {}, finding->cause});
            mWorst = std::max(mWorst, finding->code);
        }
    }

    Log<Kind> mLog;
    Place<Kind> mPlace;
    Survey mSurvey;
    Rows mRows;
    ExitCode mWorst = Sound;
    Progress& mProgress;
    SlotReader<Kind> mReader;
    bool mHasKey = false;
    std::int32_t mLastKey = 0;
};

}  // namespace ZEB::tool
