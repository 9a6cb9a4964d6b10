#include "BasicEventLog.h"
#include "Bench.h"
#include "Files.h"
#include "Rows.h"

namespace bench {

using ZEB::BasicEventLog;
using ZEB::ByteBuf;
using ZEB::EventFile;
using ZEB::EventMsg;

namespace {

constexpr EventFile* Kind = nullptr;
constexpr int Appends = 3000;  // stay within one file, and mostly within one time slice

auto enabledLog() {
    auto log = std::make_unique<BasicEventLog>();
    log->SetEnabled(true);
    return log;
}

Row append() {
    auto const library = [] {
        emptyData();
        return [log = enabledLog(), record = recordAt(Kind, 1000)] { log->writeRecord(record); };
    };
    auto const calls = [](auto write) {
        return [write] {
            emptyData();
            return [write, fd = makeAllocated(dataPath("bare"), slotAt<EventFile>(Slots)),
                    offset = slotAt<EventFile>(0)]() mutable {
                static char const bytes[EventFile::RecordSize] = {1};
                require(write(fd, bytes, offset) == sizeof bytes, "write");
                offset += EventFile::RecordSize;
            };
        };
    };
    auto const bare = [](int fd, auto const& bytes, off_t offset) {
        lseek(fd, offset, SEEK_SET);
        return write(fd, bytes, sizeof bytes);
    };
    auto const positioned = [](int fd, auto const& bytes, off_t offset) {
        return pwrite(fd, bytes, sizeof bytes, offset);
    };
    return {"append an event",         0.85,           side("library", library),
            side("bare", calls(bare)), {Appends, 101}, {side("pwrite", calls(positioned))}};
}

Row single() {
    auto const library = [] {
        return [log = enabledLog(), record = EventMsg(), slot = SomeSlot()]() mutable {
            log->GetRecord(&record, static_cast<unsigned long>(slot()));
        };
    };
    auto const bare = [] {
        return [fd = Fd(open(path(Kind, 0).c_str(), O_RDWR)), slot = SomeSlot()]() mutable {
            char bytes[EventFile::RecordSize];
            lseek(fd, slotAt<EventFile>(slot()), SEEK_SET);
            require(read(fd, bytes, sizeof bytes) == sizeof bytes, "read");
        };
    };
    return {"one event by index, current file", 0.90, side("library", library), side("bare", bare)};
}

Row fetch() {
    auto const library = [] { return [log = enabledLog()] { fetchAll(*log, Slots); }; };
    auto const bare = [] { return [] { readInBatches<EventFile>(path(Kind, 0)); }; };
    return {"fetch a full event file", 5.2, side("library", library), side("bare", bare)};
}

Row startUp() {
    auto const library = [] { return [] { BasicEventLog const log; }; };
    auto const bare = [] {
        std::vector<std::string> paths;
        for (int i = 0; i < BasicEventLog::getFileCount(); ++i) paths.push_back(path(Kind, i));
        return [paths] {
            for (auto const& each : paths) openBare<EventFile>(each.c_str(), 2);
        };
    };
    return {"start-up of the event log, 200 full files", 1.3, side("library", library),
            side("bare", bare)};
}

Row move() {
    auto const library = [] {
        emptyData();
        makeFull<EventFile>(0, 1000);
        return [log = enabledLog(), record = recordAt(Kind, 99000)] { log->writeRecord(record); };
    };
    auto const bare = [] {
        emptyData();
        makeFull<EventFile>(0, 1000);
        auto const backup = dataPath("../backup/data/event_log-1-2-7#1.vek");
        return [fd = openBare<EventFile>(path(Kind, 0).c_str(), 1), hidden = dataPath(".hidden"),
                to = path(Kind, 1), backup]() mutable {
            static char const bytes[EventFile::RecordSize] = {1};
            struct stat status {};
            stat(to.c_str(), &status);
            stat(backup.c_str(), &status);
            fd = moveBare<EventFile>(hidden, to);
            require(pwrite(fd, bytes, sizeof bytes, slotAt<EventFile>(0)) == sizeof bytes, "write");
        };
    };
    return {"move to a new event file, median",
            1.3,
            side("library", library),
            side("bare", bare),
            {1, 400},
            {},
            1.3};
}

}  // namespace

void eventRows() {
    printRow(append());
    printRow(move());
    emptyData();
    {
        auto const log = enabledLog();
        for (int i = 0; i < Slots; ++i) log->writeRecord(recordAt(Kind, 1000 + i));
    }
    printRow(single());
    printRow(fetch());
    for (int i = 1; i < BasicEventLog::getFileCount(); ++i) {
        makeFull<EventFile>(i, 1000 + Slots * i);
    }
    printRow(startUp());
}

}  // namespace bench
