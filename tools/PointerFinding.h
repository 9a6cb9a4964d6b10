#pragma once

#include <cerrno>
#include <cstring>
#include <optional>
#include <string>

#include "Survey.h"
#include "files/Handles.h"

namespace ZEB::tool {

struct Finding {
    int slot;  // -1: the file as a whole
    std::string cause;
    std::string more;  // how many more such slots there are, which may change meanwhile
    ExitCode code = Damage;

    bool operator==(Finding const& other) const {
        return slot == other.slot && cause == other.cause;
    }
};

// A pointer that can't be read, or holds no number.
inline std::optional<Finding> withoutNumber(Log<MeasurementKind> const& log) {
    Stream const in(std::fopen(pointerPath(log.directory).c_str(), "rb"));
    if (in) return Finding{-1, "holds no file number", ""};
    if (errno != ENOENT) return Finding{-1, std::strerror(errno), "", Unreadable};
    // In its first life a log writes the pointer when it moves to file 1.
    if (expectedFiles(log, false) <= 1) return std::nullopt;
    return Finding{-1, "missing", ""};
}

// What is wrong with the pointer.
inline std::optional<Finding> pointerFinding(Log<MeasurementKind> const& log) {
    auto const named = pointedFile(log);
    if (!named) return withoutNumber(log);
    auto const place = findPlace(log, Gaps::AreSkipped);
    // It moves on before the next file is made.
    if (place.current && isBetween(place, *named, log.ring)) return std::nullopt;
    std::string const file = "names file " + std::to_string(*named) + ", ";
    if (log.faulty.count(*named) > 0) return Finding{-1, file + "which is damaged", ""};
    if (log.paths.count(*named) == 0) return Finding{-1, file + "which does not exist", ""};
    int const current = place.current ? place.current->mFileIndex : *named;
    if (current == *named) return std::nullopt;
    return Finding{-1, file + "but the newest record is in file " + std::to_string(current), ""};
}

}  // namespace ZEB::tool
