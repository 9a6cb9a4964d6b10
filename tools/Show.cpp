#include <unistd.h>

#include "Commands.h"
#include "Fields.h"
#include "Select.h"

namespace ZEB::tool {

namespace {

constexpr unsigned PollMicroseconds = 200000;

// Prints the records of one log.
template <class Kind>
class Printer {
    using Record = typename Kind::Record;

  public:
    Printer(Format format, bool endless) : mTable(format, headings(), endless) {}

    void print(int file, int slot, Record const& record) {
        std::vector<Json> cells{file, slot};
        for (Field<Record> const& field : fieldsOf<Record>()) cells.push_back(field.value(record));
        mTable.row(cells);
    }
    void end() { mTable.end(); }

  private:
    static std::vector<Heading> headings() {
        std::vector<Heading> headings{{"file", 4}, {"slot", 5}};
        for (Field<Record> const& field : fieldsOf<Record>()) headings.push_back(field.heading);
        return headings;
    }

    Table mTable;
};

// Looks again and again behind the last record seen. A slot there that was unused
// before holds a new record whatever its time; in a ring's second round the old
// record there is told from a new one by its key alone.
template <class Kind>
class Follower {
    using Record = typename Kind::Record;

  public:
    Follower(std::string const& path, Log<Kind> log, Place<Kind> const& place)
        : mPath(path), mLog(std::move(log)) {
        if (!place.current) return;
        mFile = place.current->mFileIndex;
        mSlot = place.newestSlot();
        mLast = place.current->recentRecord();
    }

    template <class Visit>
    void visitNew(Visit const& visit) {
        if (wasCleared()) restart();
        for (;;) {
            bool const nextFile = mSlot + 1 >= mLog.ring.slotsPerFile;
            int const file = nextFile ? (mFile + 1) % mLog.ring.files : mFile;
            int const slot = nextFile ? 0 : mSlot + 1;
            Record const record = readAt(file, slot);
            bool const isNew =
                record.isValid() && (mSeenUnused || recordKey(record) >= recordKey(mLast));
            if (!isNew) {
                mSeenUnused = !record.isValid();
                return;
            }
            if (nextFile) mSeenUnused = false;
            mFile = file;
            mSlot = slot;
            mLast = record;
            visit(file, slot, record);
        }
    }

  private:
    Record readAt(int index, int slot) {
        std::string const path = mLog.single ? mPath : mLog.directory + '/' + mLog.fileName(index);
        if (!mOpen || mOpen->mFileIndex != index) {
            mOpen = std::make_unique<LogFile<Kind>>(index, path, mLog.ring.slotsPerFile);
        }
        if (!mOpen->fault()) return slot == 0 ? reopened(index, path) : mOpen->readRecord(slot);
        mOpen.reset();
        return {};
    }

    // Slot 0 is answered from what was read when the file was opened.
    Record reopened(int index, std::string const& path) {
        mOpen = std::make_unique<LogFile<Kind>>(index, path, mLog.ring.slotsPerFile);
        return mOpen->mFirstRecord;
    }

    // The last record's file was removed, moved away or made anew.
    bool wasCleared() {
        if (mSlot < 0) return false;
        mOpen.reset();
        Record const last = readAt(mFile, mSlot);
        return !last.isValid();
    }

    void restart() {
        mFile = 0;
        mSlot = -1;
        mSeenUnused = true;
    }

    std::string mPath;
    Log<Kind> mLog;
    std::unique_ptr<LogFile<Kind>> mOpen;
    int mFile = 0;
    int mSlot = -1;
    Record mLast;
    bool mSeenUnused = false;
};

template <class Kind>
void showLog(Log<Kind> const& log, Options const& options, Status& status) {
    options.filter.requireFieldsOf(Kind::Name);
    log.complainOfFaults(status);
    Place<Kind> const place = findPlace(log, Gaps::AreSkipped);
    Progress progress(log.bytes(), isatty(STDOUT_FILENO) != 0);
    SlotReader reader(progress);
    std::vector<Span> spans = spansOf(log, place);
    if (options.follow && place.current) {
        // What is written meanwhile is left to the follower.
        for (Span& span : spans) {
            if (span.file == place.current->mFileIndex && span.first == 0) {
                span.count = place.newestSlot() + 1;
            }
        }
    }
    if (options.newest >= 0) {
        spans = newestOf(log, std::move(spans), options.filter, options.newest, reader);
    }
    Printer<Kind> printer(options.format, options.follow);
    auto const print = [&](int file, int slot, auto const& record) {
        printer.print(log.shownIndex + file, slot, record);
        return true;
    };
    forEachRecord(log, spans, options.filter, options.reverse, reader, print);
    printer.end();
    if (!options.follow) return;
    Follower<Kind> follower(options.paths.front(), log, place);
    while (std::fflush(stdout) == 0) {
        usleep(PollMicroseconds);
        follower.visitNew([&](int file, int slot, auto const& record) {
            if (options.filter.matches(record)) print(file, slot, record);
        });
    }
}

}  // namespace

AnyLog chosenLog(Options const& options) {
    std::vector<AnyLog> chosen;
    std::string names;
    for (AnyLog& any : findLogs(options.paths.front())) {
        std::visit(
            [&](auto const& log) {
                std::string const name = log.name();
                names += (names.empty() ? "" : ", ") + name;
                bool const isMeant = options.log.empty() || options.log == name ||
                                     options.log == name.substr(0, name.find(' '));
                if (isMeant) chosen.push_back(std::move(any));
            },
            any);
    }
    if (chosen.size() == 1) return std::move(chosen.front());
    std::string const held = options.paths.front() + " holds " + names;
    throw WrongUsage(chosen.empty() ? held + ", not " + options.log
                                    : held + ": choose one with --log");
}

void show(Options const& options, Status& status) {
    std::visit([&](auto const& log) { showLog(log, options, status); }, chosenLog(options));
}

}  // namespace ZEB::tool
