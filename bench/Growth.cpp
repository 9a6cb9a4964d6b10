#include <cstdio>

#include "MeasurementRing.h"
#include "Rows.h"

namespace bench {

namespace {

template <class MakeOp>
void point(char const* series, int x, MakeOp makeOp, Repeat repeat, double units = 1) {
    std::printf("%s\t%d\t%.1f\n", series, x, measure({side(makeOp)}, repeat)[0].median / units);
    std::fflush(stdout);
}

template <class Log>
void startUp(char const* series, int files, Repeat repeat) {
    point(
        series, files, [] { return [] { Log const log; }; }, repeat);
}

void overFiles(int files) {
    emptyData();
    for (int i = 0; i < files; ++i) makeFull<Events>(i, 1000 + Slots * i);
    startUp<Events::Log>("start-up, events", files, {1, 31});
}

void overRecords(int records) {
    using Log = Measurements::Log;
    MeasurementRing const ring(records);
    if (records >= Slots) {
        startUp<Log>("start-up, measurements by pointer", (records + Slots - 1) / Slots, {20, 31});
    }
    auto const search = [dates = ring.dates()] {
        return [log = std::make_unique<Log>(), dates, i = std::size_t{0}]() mutable {
            benchmark::DoNotOptimize(log->dateToIndex(dates[i++ % dates.size()]));
        };
    };
    point("dateToIndex", records, search, {32, 15});
    auto const fetch = [records] {
        return [log = std::make_unique<Log>(), records] {
            fetchAll(*log, static_cast<unsigned>(records), static_cast<unsigned>(log->GetFirst()));
        };
    };
    point("fetch, each record", records, fetch, {1, records > 1000000 ? 3 : 15}, records);
    auto const append = [] {
        return [log = enabledLog<Log>(), record = Measurements::record(2000000000)] {
            log->writeRecord(record);
        };
    };
    point("append", records, append, {2000, 15});
}

}  // namespace

void growth() {
    for (int const files : {1, 10, 100, 200}) overFiles(files);
    for (int const records : {1000, 10000, 65000, 650000, 6500000, Capacity}) overRecords(records);
}

}  // namespace bench
