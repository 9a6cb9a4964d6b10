#include "BasicEventLog.h"
#include "Bench.h"
#include "Files.h"
#include "Rows.h"

namespace bench {

using ZEB::BasicEventLog;
using ZEB::EventFile;
using ZEB::EventMsg;

namespace {

constexpr EventFile* Kind = nullptr;

Row move() {
    auto const before = [backup = dataPath("../backup/data/event_log-1-2-7#1.vek")] {
        struct stat status {};
        stat(backup.c_str(), &status);
    };
    return moveRow<BasicEventLog, EventFile>(
        "move to a new event file", 500, [] {}, before);
}

Row single() {
    auto const library = [] {
        return
            [log = enabledLog<BasicEventLog>(), record = EventMsg(), slot = SomeSlot()]() mutable {
                log->GetRecord(&record, static_cast<unsigned long>(slot()));
            };
    };
    return {"one event by index, current file",
            0.90,
            side("library", library),
            bareSlotReads<EventFile>(0),
            {3000, 101}};
}

Row fetch() {
    auto const library = [] {
        return [log = enabledLog<BasicEventLog>()] { fetchAll(*log, Slots); };
    };
    return {"fetch a full event file",
            5.2,
            side("library", library),
            bareFetch<EventFile>(0),
            {1, 101}};
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
    return {"start-up of the event log, 200 full files",
            1.3,
            side("library", library),
            side("bare", bare),
            {1, 101}};
}

}  // namespace

void eventRows() {
    printRow(appendRow<BasicEventLog, EventFile>("append an event", 0.85));
    printRow(move());
    emptyData();
    {
        auto const log = enabledLog<BasicEventLog>();
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
