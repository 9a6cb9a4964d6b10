#include <cstdlib>
#include <string>

#include "BasicEventLog.h"
#include "BasicMeasurementLog.h"

template <class Log, class Record>
static void run(std::string const& work, int count, Record record) {
    int const starts = work == "start" ? count : 0;
    int const appends = work == "append" ? count : 0;
    auto left = static_cast<unsigned>(work == "fetch" ? count : 0);
    record.setTimeStamp(ZEB::TimeStamp(1000));
    for (int i = 0; i < starts; ++i) Log();
    Log log;
    log.SetEnabled(true);
    for (int i = 0; i < appends; ++i) log.writeRecord(record);
    for (unsigned first = 0; left > 0;) {
        ZEB::ByteBuf reply;
        log.GetLogRecords(&first, &left, 1, reply);
    }
}

// Usage: budget_workload events|measurements append|fetch|start COUNT
int main(int argc, char** argv) {
    if (argc != 4) return 2;
    if (argv[1] == std::string("events")) {
        run<ZEB::BasicEventLog>(argv[2], std::atoi(argv[3]), ZEB::EventMsg({}, 1, 1, "event"));
    } else {
        run<ZEB::BasicMeasurementLog>(argv[2], std::atoi(argv[3]), ZEB::MeasurementRecord({}, 1));
    }
}
