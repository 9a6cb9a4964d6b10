#include <memory>

#include "BasicLightSourceLog.h"
#include "Bench.h"
#include "Files.h"
#include "Rows.h"

namespace bench {

using ZEB::BasicLightSourceLog;
using ZEB::LightSourceFile;
using ZEB::LightSourceRecord;

namespace {

Fd openLampFile() { return Fd(open(LightSourceFile::getFileNameFormat(), O_RDWR | O_CREAT, 0600)); }

void readBare(int fd, int slot, std::size_t size = LightSourceFile::RecordSize) {
    char bytes[64];
    require(pread(fd, bytes, size, slotAt<LightSourceFile>(slot)) == static_cast<ssize_t>(size),
            "pread");
}

Row append() {
    auto const library = [] {
        return [log = std::make_unique<BasicLightSourceLog>(), key = 0]() mutable {
            log->newRecord(LightSourceRecord(ZEB::TimeStamp(1000), 1, ++key));
        };
    };
    auto const bare = [] {
        return [fd = openLampFile()] {
            static char const bytes[LightSourceFile::RecordSize] = {1};
            lseek(fd, slotAt<LightSourceFile>(5), SEEK_SET);
            require(write(fd, bytes, sizeof bytes) == sizeof bytes, "write");
            sync();
        };
    };
    return {"append a lamp record, with its sync()",
            0,
            side("library", library),
            side("bare", bare),
            {1, 51, true}};
}

Row startUp() {
    auto const library = [] { return [] { BasicLightSourceLog const log; }; };
    auto const bare = [] {
        return [] {
            char bytes[ZEB::HeaderSize + LightSourceFile::RecordSize];
            int const last = LightSourceFile::getRecordCount() - 1;
            Fd const fd = openLampFile();
            lseek(fd, 0, SEEK_END);
            require(pread(fd, bytes, sizeof bytes, 0) == sizeof bytes, "pread");
            readBare(fd, last);  // is it full?
            readBare(fd, last);  // where is the newest?
            for (int low = 0, high = last; low + 1 < high;) {
                int const middle = low + (high - low) / 2;
                readBare(fd, middle);
                high = middle;
            }
        };
    };
    return {"start-up of the lamp log", 0, side("library", library), side("bare", bare), {100, 51}};
}

}  // namespace

void lampRows() {
    BasicLightSourceLog();  // makes the file
    printRow(append());
    printRow(startUp());
}

}  // namespace bench
