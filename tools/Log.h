#pragma once

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "LogFile.h"
#include "Status.h"
#include "files/FileNames.h"
#include "logs/FileWindow.h"

namespace ZEB::tool {

struct FaultyFile {
    std::string path;
    Fault fault;
};

// The files of one log, found by their names or given as a single file.
template <class Kind>
struct Log {
    std::string directory;
    std::string version;  // the software version in the names, where they hold one
    bool single = false;  // a file looked at alone, as file 0 of a ring of one
    int shownIndex = 0;   // the index in its name
    Ring ring{1, 0};
    std::map<int, std::string> paths;  // the sound files, by file index
    std::map<int, FaultyFile> faulty;

    std::string name() const {
        return version.empty() ? Kind::Name : std::string(Kind::Name) + ' ' + version;
    }
    std::string fileName(int index) const {
        auto const sound = paths.find(index);
        auto const unfit = faulty.find(index);
        if (sound == paths.end() && unfit == faulty.end()) return Kind::format({version, index});
        std::string const& path = sound != paths.end() ? sound->second : unfit->second.path;
        return path.substr(path.rfind('/') + 1);
    }
    bool isRing() const { return ring.files > 1; }
    std::int64_t bytes() const {
        return static_cast<std::int64_t>(paths.size()) * ring.slotsPerFile *
               LogFile<Kind>::RecordSize;
    }

    // An empty pointer for a file that is missing or not sound.
    std::shared_ptr<LogFile<Kind>> open(int index) const {
        auto const found = paths.find(index);
        if (found == paths.end()) return nullptr;
        auto file = std::make_shared<LogFile<Kind>>(index, found->second, ring.slotsPerFile);
        return file->fault() ? nullptr : file;
    }

    // The first file from index on that the log would not take for empty.
    std::shared_ptr<LogFile<Kind>> openFrom(int index) const {
        for (auto it = paths.lower_bound(index); it != paths.end() && it->first < ring.files;
             ++it) {
            auto file = open(it->first);
            if (file && !factsOf(*file).isEmpty()) return file;
        }
        return nullptr;
    }

    void complainOfFaults(Status& status) const {
        for (auto const& [index, file] : faulty) {
            status.complain(file.fault.unreadable ? Unreadable : Damage,
                            file.path + ": " + file.fault.cause);
        }
    }
};

using AnyLog = std::variant<Log<EventKind>, Log<LampKind>, Log<MeasurementKind>>;

// The logs in a directory (or in its data and settings directories), or the file
// at path; throws CantRead when there is none.
std::vector<AnyLog> findLogs(std::string const& path);

inline std::string pointerPath(std::string const& directory) {
    return directory + std::string(PointerPathFormat + 2);
}

}  // namespace ZEB::tool
