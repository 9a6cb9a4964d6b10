// Writes records that can be foretold: KIND FIRST COUNT, or an export: FILE FROM TO.
#include <cstdlib>
#include <string>

#include "BasicEventLog.h"
#include "BasicLightSourceLog.h"
#include "BasicMeasurementLog.h"
using namespace ZEB;

int main(int, char** argv) {
    std::string const what = argv[1];
    long const from = std::atol(argv[2]);
    long const to = std::atol(argv[3]);
    auto const first = static_cast<int>(from);
    auto const end = static_cast<int>(from + to);
    int const start = 1700000000;
    if (what == "events") {
        BasicEventLog log;
        log.SetEnabled(true);
        for (int i = first; i < end; ++i)
            log.writeRecord({TimeStamp(start + i, 250000, 5, 60),
                             100,
                             2,
                             "lamp\tignited",
                             {525163000, -131234567, 34500}});
    } else if (what == "lamps") {
        BasicLightSourceLog log;
        for (int i = first; i < end; ++i) log.newRecord({TimeStamp(start), 2, i + 1, 3600000, 9});
    } else {
        BasicMeasurementLog log;
        log.SetEnabled(true);
        for (int i = first; i < end && what == "measurements"; ++i) {
            MeasurementRecord record(TimeStamp(start + i / 2, 0, 0, -90), 7, 3);
            record.setValue(0, MeasurementRecord::ValueKind::Temperature, 21.5);
            record.setValue(8, MeasurementRecord::ValueKind::Load, i);
            log.writeRecord(record);
        }
        if (what != "measurements") return log.SaveToFile(argv[1], first, std::atoi(argv[3])) - 1;
    }
}
