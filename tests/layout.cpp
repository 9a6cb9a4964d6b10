#include <cstddef>
#include <cstdio>

#include "BasicEventLog.h"
#include "BasicLightSourceLog.h"
#include "BasicMeasurementLog.h"

#pragma GCC diagnostic ignored "-Winvalid-offsetof"

#define SIZE(Class) \
    std::printf("%s: %zu bytes, aligned to %zu\n", #Class, sizeof(ZEB::Class), alignof(ZEB::Class))
#define PLACE(Class, member) std::printf("  %s at %zu\n", #member, offsetof(ZEB::Class, member))

// What is compiled into a client that constructs the classes and reads their public members.
int main() {
    SIZE(BasicEventLog);
    SIZE(BasicLightSourceLog);
    SIZE(BasicMeasurementLog);
    SIZE(LostRecords);
    PLACE(LostRecords, count);
    PLACE(LostRecords, error);
    SIZE(EventFile);
    PLACE(EventFile, mFileIndex);
    PLACE(EventFile, mFirstRecord);
    SIZE(LightSourceFile);
    PLACE(LightSourceFile, mFileIndex);
    PLACE(LightSourceFile, mFirstRecord);
    SIZE(MeasurementFile);
    PLACE(MeasurementFile, mFileIndex);
    PLACE(MeasurementFile, mFirstRecord);
}
