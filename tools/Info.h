#pragma once

#include <sys/stat.h>

#include <string>
#include <vector>

#include "Survey.h"
#include "Table.h"

namespace ZEB::tool {

inline std::vector<Heading> const& infoHeadings() {
    static std::vector<Heading> const headings{
        {"directory", -9},  {"log", -12},      {"format_version", 7}, {"files", 5},
        {"ring_files", 10}, {"slots", 5},      {"used", 9},           {"oldest", -27},
        {"newest", -27},    {"next_file", -9}, {"wrapped", -7},       {"missing", 7},
        {"unfit", 5},       {"hidden", 6},     {"disk_bytes", 10}};
    return headings;
}

inline std::int64_t diskUse(std::string const& path) {
    constexpr int BlockBytes = 512;  // the unit of st_blocks
    struct stat status {};
    return stat(path.c_str(), &status) == 0 ? std::int64_t{status.st_blocks} * BlockBytes : 0;
}

template <class Kind>
void complainOfNextFile(Log<Kind> const& log, Survey const& survey, Status& status) {
    if (survey.next != survey.newest) {
        status.complain(Damage, log.directory + ": the instrument would go on with " +
                                    log.fileName(survey.next) +
                                    ", though the newest record is in " +
                                    log.fileName(survey.newest));
    }
    if (survey.byModification) {
        status.complain(Damage, log.directory + ": that it would go on with " +
                                    log.fileName(survey.next) +
                                    " hangs on times of modification, which a copy may have lost, "
                                    "since the pointer and the files disagree");
    }
}

template <class Kind>
std::vector<Cell> infoRow(Log<Kind> const& log, Survey const& survey, Zone zone) {
    Place<Kind> const place = findPlace(log, Gaps::AreSkipped);
    std::int64_t used = 0;
    std::int64_t disk = 0;
    Cell oldest;
    Cell newest;
    for (Span const& span : spansOf(log, place)) {
        auto const file = log.open(span.file);
        if (!file) continue;
        auto const record = file->readRecord(span.first);
        if (oldest.index() == 0 && record.isValid()) oldest = timeText(record.timeStamp(), zone);
        if (file->recentRecordIndex() >= 0)
            newest = timeText(file->recentRecord().timeStamp(), zone);
        // The current file of a wrapped ring comes in two spans.
        if (span.first != 0) continue;
        used += file->validRecordCount();
        disk += diskUse(file->path());
    }
    for (auto const& [index, file] : log.faulty) disk += diskUse(file.path);
    auto const count = [](std::size_t number) { return static_cast<std::int64_t>(number); };
    return {log.directory,
            log.name(),
            std::int64_t{LogFile<Kind>::VersionData},
            count(log.paths.size() + log.faulty.size()),
            std::int64_t{log.ring.files},
            std::int64_t{log.ring.slotsPerFile},
            used,
            oldest,
            newest,
            log.fileName(survey.next),
            place.wrapped,
            count(survey.missing.size()),
            count(log.faulty.size()),
            count(survey.hidden.size()),
            disk};
}

}  // namespace ZEB::tool
