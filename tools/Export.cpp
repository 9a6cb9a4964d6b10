#include "logs/ExportText.h"

#include "Commands.h"
#include "Place.h"
#include "logs/DateSearch.h"

namespace ZEB::tool {

namespace {

using File = LogFile<MeasurementKind>;

// The bounds as the log takes them, which searches with 32 bits.
long boundOr(std::int64_t bound, std::int64_t none, long instead) {
    return bound == none ? instead : static_cast<long>(bound);
}

void writeSlots(File const& file, int slot, int count, SlotReader& reader) {
    reader.forward(file, slot, count, [](int, MeasurementRecord record) {
        writeExportLine(stdout, record);
        return true;
    });
}

void exportLog(Log<MeasurementKind> const& log, Period const& period, Status& status) {
    log.complainOfFaults(status);
    auto const held = findPlace(log, Gaps::EndTheLog).held;
    std::shared_ptr<File> file = std::make_shared<File>(-1);
    auto const fileAt = [&](int index) -> File& {
        if (file->mFileIndex != index) {
            file = log.open(index);
            if (!file) file = std::make_shared<File>(index);
        }
        return *file;
    };
    auto const timeOf = [&](int index) {
        auto const at = ringPosition(static_cast<std::uint64_t>(index), log.ring);
        return static_cast<std::uint32_t>(
            fileAt(at.file).readRecord(at.slot).timeStamp().seconds());
    };

    writeExportHeader(stdout);
    if (held.count <= 0) return;
    Period const all;
    long from = boundOr(period.since, all.since, 0);
    long to = boundOr(period.until, all.until, std::numeric_limits<std::uint32_t>::max());
    if (from > to) std::swap(from, to);
    std::int64_t index = indexOfDate(held, static_cast<std::uint32_t>(from), timeOf);
    std::int64_t const last = indexOfDate(held, static_cast<std::uint32_t>(to), timeOf);
    Progress progress((last - index + 1) * File::RecordSize, isatty(STDOUT_FILENO) != 0);
    SlotReader reader(progress);
    while (index <= last) {
        auto const at = ringPosition(static_cast<std::uint64_t>(index), log.ring);
        auto const count = static_cast<int>(
            std::min<std::int64_t>(last - index + 1, log.ring.slotsPerFile - at.slot));
        File const& source = fileAt(at.file);
        if (source.path().empty()) {
            MeasurementRecord none;
            for (int i = 0; i < count; ++i) writeExportLine(stdout, none);
            status.complain(Damage, log.fileName(at.file) + ": missing, exported as empty records");
        } else {
            writeSlots(source, at.slot, count, reader);
        }
        index += count;
    }
}

}  // namespace

void exportText(Options const& options, Status& status) {
    Options measurements = options;
    measurements.log = MeasurementKind::Name;
    exportLog(std::get<Log<MeasurementKind>>(chosenLog(measurements)), options.filter.period,
              status);
}

}  // namespace ZEB::tool
