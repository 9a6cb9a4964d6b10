#include <limits>

#include "Commands.h"
#include "Place.h"

namespace ZEB::tool {

namespace {

// The first of the slots that share a fault, and their number.
struct Slots {
    int first = -1;
    int count = 0;

    void add(int slot) {
        if (count++ == 0) first = slot;
    }
    std::string more() const {
        return count > 1 ? " (and " + std::to_string(count - 1) + " more such slots)" : "";
    }
};

// Reads every file of a log from its first byte to its last and compares each
// record with the one before it. One row for each sound file, one for each fault.
template <class Kind>
class Verifier {
    using Record = typename Kind::Record;

  public:
    Verifier(Log<Kind> const& log, Table& table, Status& status, Progress& progress)
        : mLog(log),
          mPlace(findPlace(log, Gaps::AreSkipped)),
          mTable(table),
          mStatus(status),
          mProgress(progress),
          mReader(progress) {}

    void run() {
        if (mPlace.wrapped) startBehindTheLastFile();
        int const end = fileCount();
        for (int index = 0; index < end; ++index) {
            auto const faulty = mLog.faulty.find(index);
            if (faulty != mLog.faulty.end()) {
                report(index, {}, faulty->second.fault.cause,
                       faulty->second.fault.unreadable ? Unreadable : Damage);
            } else if (mLog.paths.count(index) == 0) {
                index = reportGap(index, end);
            } else if (index >= mLog.ring.files) {
                report(index, {},
                       "beyond the ring of " + std::to_string(mLog.ring.files) + " files");
            } else {
                checkFile(index);
            }
        }
        checkPointer();
    }

  private:
    struct Extreme {
        std::int32_t key;
        int slot;
    };

    struct Found {
        Slots used;
        Slots unused;
        Slots afterUnused;
        Slots falls;
        std::string firstFall;
        Extreme oldest{std::numeric_limits<std::int32_t>::max(), 0};
        Extreme newest{std::numeric_limits<std::int32_t>::min(), 0};
    };

    // In a wrapped ring file 0 goes on where the last file ends.
    void startBehindTheLastFile() {
        auto const file = mLog.open(mLog.ring.files - 1);
        if (!file) return;
        Record const record = file->readRecord(mLog.ring.slotsPerFile - 1);
        mHasKey = record.isValid();
        mLastKey = recordKey(record);
    }

    void report(int index, Json slot, std::string const& cause, ExitCode code = Damage) {
        row({mLog.fileName(index), std::move(slot), {}, {}, {}, cause});
        mStatus.note(code);
    }

    // The two may share a terminal.
    void row(std::vector<Json> const& cells) {
        mProgress.erase();
        mTable.row(cells);
    }

    int fileCount() const {
        int end = mPlace.wrapped ? mLog.ring.files : 0;
        if (!mLog.paths.empty()) end = std::max(end, mLog.paths.rbegin()->first + 1);
        if (!mLog.faulty.empty()) end = std::max(end, mLog.faulty.rbegin()->first + 1);
        return end;
    }

    // Returns the last file of the gap.
    int reportGap(int first, int end) {
        int last = first;
        while (last + 1 < end && mLog.paths.count(last + 1) + mLog.faulty.count(last + 1) == 0) {
            ++last;
        }
        std::string const upTo = last > first ? ", as all up to " + mLog.fileName(last) : "";
        report(first, {}, "gap in the file set: missing" + upTo);
        return last;
    }

    void checkFile(int index) {
        auto const file = mLog.open(index);
        if (!file) {
            report(index, {}, "changed while it was read");
            return;
        }
        auto const next = mLog.open(index + 1);
        if (next) next->announce();
        Found found;
        mReader.forward(*file, 0, mLog.ring.slotsPerFile, [&](int slot, Record const& record) {
            if (record.isValid()) {
                look(index, slot, record, found);
            } else {
                found.unused.add(slot);
            }
            return true;
        });
        if (reportFaults(index, *file, found)) return;
        auto const timeAt = [&](int slot) -> Json {
            return found.used.count > 0 ? Json(timeText(file->readRecord(slot).timeStamp()))
                                        : Json();
        };
        row({mLog.fileName(index),
             {},
             found.used.count,
             timeAt(found.oldest.slot),
             timeAt(found.newest.slot),
             "sound"});
    }

    void look(int index, int slot, Record const& record, Found& found) {
        found.used.add(slot);
        if (found.unused.count > 0) found.afterUnused.add(slot);
        std::int32_t const key = recordKey(record);
        if (mHasKey && key < mLastKey && !isSeam(index, slot)) {
            found.falls.add(slot);
            if (found.falls.count == 1) found.firstFall = fallText(key);
        }
        mHasKey = true;
        mLastKey = key;
        if (key < found.oldest.key) found.oldest = {key, slot};
        if (key >= found.newest.key) found.newest = {key, slot};
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

    bool reportFaults(int index, LogFile<Kind> const& file, Found const& found) {
        bool const isLast =
            !mPlace.wrapped && mPlace.current && index >= mPlace.current->mFileIndex;
        bool const isCurrent = mPlace.current && index == mPlace.current->mFileIndex;
        bool faulty = true;
        if (found.afterUnused.count > 0) {
            report(index, found.afterUnused.first,
                   "used after unused slot " + std::to_string(found.unused.first) +
                       found.afterUnused.more());
        } else if (mLog.isRing() && file.mFirstRecord.isValid() && factsOf(file).isEmpty()) {
            report(index, 0, "the log takes the file for empty: no time after 1970 began");
        } else if (found.unused.count > 0 && mPlace.current && !isLast && !isCurrent) {
            report(index, found.unused.first,
                   "unused, though later files hold records" + found.unused.more());
        } else {
            faulty = false;
        }
        if (found.falls.count > 0) {
            report(index, found.falls.first, found.firstFall + found.falls.more());
        }
        return faulty || found.falls.count > 0;
    }

    void checkPointer() {
        if constexpr (std::is_same_v<Kind, MeasurementKind>) {
            if (mLog.single) return;
            std::string const cause = pointerFault();
            if (cause.empty()) return;
            row({pointerPath("").substr(1), {}, {}, {}, {}, cause});
            mStatus.note(Damage);
        }
    }

    std::string pointerFault() const {
        auto const named = pointedFile(mLog);
        if (!named) return "missing, or holds no file number";
        std::string const file = "names file " + std::to_string(*named) + ", ";
        if (mLog.faulty.count(*named) > 0) return file + "which is damaged";
        if (mLog.paths.count(*named) == 0) return file + "which does not exist";
        int const current = mPlace.current ? mPlace.current->mFileIndex : *named;
        // It moves on before the first record of the next file is written.
        bool const isAhead = mPlace.newestSlot() == mLog.ring.slotsPerFile - 1 &&
                             *named == (current + 1) % mLog.ring.files;
        if (current == *named || isAhead) return "";
        return file + "but the newest record is in file " + std::to_string(current);
    }

    Log<Kind> const& mLog;
    Place<Kind> const mPlace;
    Table& mTable;
    Status& mStatus;
    Progress& mProgress;
    SlotReader mReader;
    bool mHasKey = false;
    std::int32_t mLastKey = 0;
};

}  // namespace

void verify(Options const& options, Status& status) {
    Table table(options.format, {{"file", -24},
                                 {"slot", 5},
                                 {"used", 5},
                                 {"oldest", -27},
                                 {"newest", -27},
                                 {"finding", -5}});
    for (std::string const& path : options.paths) {
        try {
            auto const logs = findLogs(path);
            std::int64_t total = 0;
            for (AnyLog const& any : logs) {
                total += std::visit([](auto const& log) { return log.bytes(); }, any);
            }
            Progress progress(total);
            for (AnyLog const& any : logs) {
                std::visit([&](auto const& log) { Verifier(log, table, status, progress).run(); },
                           any);
            }
        } catch (CantRead const& failure) {
            status.complain(Unreadable, failure.what());
        }
    }
    table.end();
}

}  // namespace ZEB::tool
