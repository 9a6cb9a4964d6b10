#pragma once

#include <optional>
#include <string>

#include "EventFile.h"
#include "LightSourceFile.h"
#include "MeasurementFile.h"
#include "files/SlotIo.h"
#include "logs/RingPosition.h"

namespace ZEB::tool {

// What a file's name says of it: the software version, if it holds one, and the
// file index.
struct FileName {
    std::string version;
    int index = 0;
};

// The three kinds of log. File serves for its constants only: making such an
// object would make files.
struct EventKind {
    using File = EventFile;
    using Record = EventMsg;
    static constexpr char const* Name = "events";
    static constexpr int Files = EventFiles;
    static constexpr int SmallFiles = SmallEventFiles;
    static std::optional<FileName> parse(std::string const& name);
    static std::string format(FileName const& name);
};

struct LampKind {
    using File = LightSourceFile;
    using Record = LightSourceRecord;
    static constexpr char const* Name = "lamps";
    static constexpr int Files = 1;
    static constexpr int SmallFiles = 1;
    static std::optional<FileName> parse(std::string const& name);
    static std::string format(FileName const& name);
};

struct MeasurementKind {
    using File = MeasurementFile;
    using Record = MeasurementRecord;
    static constexpr char const* Name = "measurements";
    static constexpr int Files = MeasurementFiles;
    static constexpr int SmallFiles = SmallMeasurementFiles;
    static std::optional<FileName> parse(std::string const& name);
    static std::string format(FileName const& name);
};

template <class Visit>
void forEachKind(Visit const& visit) {
    visit(EventKind{});
    visit(LampKind{});
    visit(MeasurementKind{});
}

}  // namespace ZEB::tool
