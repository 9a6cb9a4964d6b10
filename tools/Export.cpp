#include "logs/ExportText.h"

#include <unistd.h>

#include <cstring>
#include <new>

#include "Commands.h"
#include "Merge.h"
#include "Survey.h"
#include "files/Handles.h"
#include "logs/DateSearch.h"

namespace ZEB::tool {

namespace {

using File = LogFile<MeasurementKind>;

// The unsigned 32 bits of seconds that the log searches with.
std::uint32_t searched(std::int64_t bound) {
    constexpr std::int64_t Most = std::numeric_limits<std::uint32_t>::max();
    return static_cast<std::uint32_t>(std::clamp<std::int64_t>(bound, 0, Most));
}

// As the instrument goes about it, which looks for the ends of the period by
// bisection and takes lost files for empty ones.
void exportAsInstrument(Log<MeasurementKind> const& log, Period const& period, Status& status) {
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
        if (index < 0) return std::uint32_t{0};
        auto const at = ringPosition(static_cast<std::uint64_t>(index), log.ring);
        return static_cast<std::uint32_t>(
            fileAt(at.file).readRecord(at.slot).timeStamp().seconds());
    };

    writeExportHeader(stdout);
    auto [index, left] =
        recordsBetween(searched(period.since), searched(period.until), held, log.ring, timeOf);
    Progress progress(left * File::RecordSize, isatty(STDOUT_FILENO) != 0);
    SlotReader<MeasurementKind> reader(progress);
    while (left > 0) {
        auto const at = ringPosition(static_cast<std::uint64_t>(index), log.ring);
        auto const count =
            static_cast<int>(std::min<std::int64_t>(left, log.ring.slotsPerFile - at.slot));
        fileAt(at.file);
        if (file->path().empty()) {
            MeasurementRecord none;
            for (int i = 0; i < count; ++i) writeExportLine(stdout, none);
            status.complain(Damage, log.fileName(at.file) + ": exported as empty records");
        } else {
            reader.begin(file, at.slot, count);
            while (reader.next()) {
                MeasurementRecord record = reader.record();
                writeExportLine(stdout, record);
            }
        }
        index += count;
        left -= count;
    }
}

// The line with one more field.
template <class Write>
void writeMarked(char const* mark, Write const& write) {
    char line[2048];
    Stream const out(fmemopen(line, sizeof line, "w"));
    if (!out) throw std::bad_alloc();
    write(out.get());
    std::fflush(out.get());
    std::printf("%.*s\t%s\n", static_cast<int>(std::strcspn(line, "\n")), line, mark);
}

// Every record of the period, with those of unfit files where their times say.
void exportDamaged(Log<MeasurementKind> const& log, Filter const& filter, Status& status) {
    std::vector<Source<MeasurementKind>> sources;
    sources.emplace_back(log);
    for (auto& file : unfitFiles(log)) sources.emplace_back(std::move(file));
    Progress progress(log.bytes(), isatty(STDOUT_FILENO) != 0);
    writeMarked("Damaged", writeExportHeader);
    Merge<MeasurementKind> merge(sources, {filter, Order::OldestFirst, progress, status});
    while (merge.next()) {
        MeasurementRecord record = merge.cursor().record();
        writeMarked(sources[merge.source()].log.isUnfit ? "yes" : "no",
                    [&](std::FILE* out) { writeExportLine(out, record); });
    }
}

}  // namespace

void exportText(Options const& options, Status& status) {
    Options measurements = options;
    measurements.log = MeasurementKind::Name;
    Period& period = measurements.filter.period;
    if (period.since > period.until) std::swap(period.since, period.until);
    for (AnyLog const& any : chosenLogs(measurements, status)) {
        auto const& log = std::get<Log<MeasurementKind>>(any);
        complainOfLosses(log, options.damaged ? Advice::None : Advice::ShowDamaged, status);
        if (options.damaged) {
            exportDamaged(log, measurements.filter, status);
        } else {
            exportAsInstrument(log, period, status);
        }
    }
}

}  // namespace ZEB::tool
