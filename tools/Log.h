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
    std::string origin;  // the path that it was found at
    std::string directory;
    std::string version;   // the software version in the names, where they hold one
    bool single = false;   // a file looked at alone, as file 0 of a ring of one
    bool isUnfit = false;  // a single file whose slots are read whatever its header says
    int shownIndex = 0;    // the index in its name
    Ring ring{1, 0};
    std::map<int, std::string> paths;  // the sound files, by file index
    std::map<int, FaultyFile> faulty;

    std::string name() const {
        return version.empty() ? Kind::Name : std::string(Kind::Name) + ' ' + version;
    }
    // Whether a user who names it so means it.
    bool isCalled(std::string const& wanted) const {
        return wanted.empty() || wanted == name() || wanted == Kind::Name;
    }
    std::string filePath(int index) const {
        auto const sound = paths.find(index);
        if (sound != paths.end()) return sound->second;
        auto const unfit = faulty.find(index);
        if (unfit != faulty.end()) return unfit->second.path;
        return directory + '/' + Kind::format({version, index});
    }
    std::string fileName(int index) const {
        std::string const path = filePath(index);
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
        auto file = std::make_shared<LogFile<Kind>>(index, found->second, ring.slotsPerFile,
                                                    isUnfit ? Check::None : Check::Sound);
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
};

using AnyLog = std::variant<Log<EventKind>, Log<LampKind>, Log<MeasurementKind>>;

struct FoundLogs {
    std::vector<AnyLog> logs;
    std::vector<std::string> unreadable;  // directories, and why so
};

// The logs in a directory (or in its data and settings directories), or the file
// at path; throws CantRead when there is none.
FoundLogs findLogs(std::string const& path);

// The same, with what is unreadable complained of, and a second look at unfit files: a
// log that is being written makes new ones, which have no header for a moment.
std::vector<AnyLog> findLogs(std::string const& path, Status& status);

// The files as they are now; none when the log is no longer there.
template <class Kind>
Log<Kind> lookAgain(Log<Kind> const& log) {
    try {
        for (AnyLog& any : findLogs(log.origin).logs) {
            auto* const found = std::get_if<Log<Kind>>(&any);
            bool const isSame = found != nullptr && found->directory == log.directory &&
                                found->version == log.version;
            if (isSame) return std::move(*found);
        }
    } catch (CantRead const&) {
        // Its directory may be gone for a moment, too.
    }
    Log<Kind> gone = log;
    gone.paths.clear();
    gone.faulty.clear();
    return gone;
}

// Each unfit file as a log of its own, with the slots that it still has.
template <class Kind>
std::vector<Log<Kind>> unfitFiles(Log<Kind> const& log) {
    std::vector<Log<Kind>> files;
    for (auto const& [index, faulty] : log.faulty) {
        int slots = slotsIn(faulty.path, LogFile<Kind>::RecordSize);
        if (log.ring.slotsPerFile > 0) slots = std::min(slots, log.ring.slotsPerFile);
        if (slots == 0) continue;
        Log<Kind> file = log;
        file.single = file.isUnfit = true;
        file.shownIndex += index;
        file.ring = {1, slots};
        file.paths = {{0, faulty.path}};
        file.faulty.clear();
        files.push_back(std::move(file));
    }
    return files;
}

inline std::string pointerPath(std::string const& directory) {
    return directory + std::string(PointerPathFormat + 2);
}

}  // namespace ZEB::tool
