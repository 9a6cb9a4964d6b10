#include <sys/stat.h>

#include "Commands.h"
#include "Place.h"

namespace ZEB::tool {

namespace {

constexpr int BlockBytes = 512;  // the unit of st_blocks

std::int64_t diskUse(std::string const& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 ? std::int64_t{status.st_blocks} * BlockBytes : 0;
}

template <class Kind>
void describe(Log<Kind> const& log, Table& table, Status& status) {
    log.complainOfFaults(status);
    Place<Kind> const place = findPlace(log, Gaps::AreSkipped);
    std::int64_t used = 0;
    std::int64_t disk = 0;
    Json oldest;
    Json newest;
    for (Span const& span : spansOf(log, place)) {
        auto const file = log.open(span.file);
        if (!file) continue;
        auto const record = file->readRecord(span.first);
        if (oldest.is_null() && record.isValid()) oldest = timeText(record.timeStamp());
        if (file->recentRecordIndex() >= 0) newest = timeText(file->recentRecord().timeStamp());
        // The current file of a wrapped ring comes in two spans.
        if (span.first != 0) continue;
        used += file->validRecordCount();
        disk += diskUse(file->path());
    }
    for (auto const& [index, file] : log.faulty) disk += diskUse(file.path);
    table.row({log.directory, log.name(), LogFile<Kind>::VersionData,
               log.paths.size() + log.faulty.size(), log.ring.files, log.ring.slotsPerFile, used,
               oldest, newest,
               place.current ? Json(log.fileName(place.current->mFileIndex)) : Json(),
               place.wrapped, disk});
}

}  // namespace

void info(Options const& options, Status& status) {
    Table table(options.format, {{"directory", -16},
                                 {"log", -14},
                                 {"version", 7},
                                 {"files", 5},
                                 {"ring", 4},
                                 {"slots", 5},
                                 {"used", 9},
                                 {"oldest", -27},
                                 {"newest", -27},
                                 {"writing", -24},
                                 {"wrapped", -7},
                                 {"disk", 11}});
    for (std::string const& path : options.paths) {
        try {
            for (AnyLog const& any : findLogs(path)) {
                std::visit([&](auto const& log) { describe(log, table, status); }, any);
            }
        } catch (CantRead const& failure) {
            status.complain(Unreadable, failure.what());
        }
    }
    table.end();
}

}  // namespace ZEB::tool
