#include <cstdint>
#include <ctime>

#include "BasicLightSourceLog.h"
#include "Child.h"
#include "Demo.h"

namespace ZEB::demo {

namespace {

LightSourceRecord lamp(int key, std::uint64_t burningTime) {
    return {TimeStamp(static_cast<std::int32_t>(std::time(nullptr))), 1, key, burningTime, 1};
}

void expect(BasicLightSourceLog& log, unsigned index, int key, std::uint64_t burningTime) {
    LightSourceRecord const record = log.getRecord(index);
    require(record.key() == key && record.burningTime() == burningTime, "a lamp record is wrong");
}

}  // namespace

void lamps() {
    inOneRun([] {
        BasicLightSourceLog log;
        for (int key = 1; key <= 4; ++key) log.newRecord(lamp(key, 0));
        for (std::uint64_t burnt : {1000U, 2000U, 3000U}) {
            require(log.editRecord(lamp(5, burnt)), "a lamp record could not be edited");
        }
        std::printf("  first run: 4 records appended, the fifth edited three times\n");
    });
    inOneRun([] {
        BasicLightSourceLog log;
        expect(log, 3, 4, 0);
        expect(log, 4, 5, 3000);
        log.newRecord(lamp(5, 4000));
        log.newRecord(lamp(6, 0));
        log.Clear();
        std::printf("  second run: all found again, two appended, archived\n");
    });
    inOneRun([] {
        BasicLightSourceLog log;
        require(!log.getRecord(0).isValid(), "the new lamp file is not empty");
        log.newRecord(lamp(7, 0));
        expect(log, 0, 7, 0);
        std::printf("  third run: a new file, one record appended\n");
    });
}

}  // namespace ZEB::demo
