#include <cstdio>
#include <memory>

#include "BasicEventLog.h"
#include "BasicMeasurementLog.h"
#include "Bench.h"
#include "Files.h"
#include "MeasurementRing.h"
#include "Rows.h"

namespace bench {

using ZEB::BasicEventLog;
using ZEB::BasicMeasurementLog;
using ZEB::EventFile;

namespace {

void point(char const* series, int x, Side const& work, Repeat repeat, double units = 1) {
    std::printf("%s\t%d\t%.1f\n", series, x, measure({work}, repeat).front().median / units);
    std::fflush(stdout);
}

template <class Log>
Side startOf() {
    return side("start", [] { return [] { Log const log; }; });
}

// Behind the newest record of what there is.
template <class Log, class Record>
Side appendTo(Record const& record) {
    return side("append", [record] {
        return [log = enabledLog<Log>(), record] { log->writeRecord(record); };
    });
}

void overFiles(int files) {
    emptyData();
    for (int i = 0; i < files; ++i) makeFull<EventFile>(i, 1000 + Slots * i);
    point("start-up, events", files, startOf<BasicEventLog>(), {1, 31});
}

void overRecords(int records) {
    MeasurementRing const ring(records);
    int const files = (records + Slots - 1) / Slots;
    if (records >= Slots)
        point("start-up, measurements by pointer", files, startOf<BasicMeasurementLog>(), {20, 31});
    auto const search = [dates = ring.dates()] {
        return
            [log = std::make_unique<BasicMeasurementLog>(), dates, i = std::size_t{0}]() mutable {
                benchmark::DoNotOptimize(log->dateToIndex(dates[i++ % dates.size()]));
            };
    };
    point("dateToIndex", records, side("search", search), {32, 15});
    auto const fetch = [records] {
        return [log = std::make_unique<BasicMeasurementLog>(), records] {
            fetchAll(*log, static_cast<unsigned>(records), static_cast<unsigned>(log->GetFirst()));
        };
    };
    point("fetch, each record", records, side("fetch", fetch), {1, records > 1000000 ? 3 : 15},
          records);
    auto const record = recordAt(static_cast<ZEB::MeasurementFile*>(nullptr), 2000000000);
    point("append", records, appendTo<BasicMeasurementLog>(record), {2000, 15});
}

}  // namespace

void growth() {
    for (int const files : {1, 10, 100, 200}) overFiles(files);
    for (int const records : {1000, 10000, 65000, 650000, 6500000, Capacity}) overRecords(records);
}

}  // namespace bench
