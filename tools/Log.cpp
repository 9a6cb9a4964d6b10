#include "Log.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>

namespace ZEB::tool {

namespace fs = std::filesystem;

namespace {

using Paths = std::map<int, std::string>;

// What most of the files say; 0 when none has a header of the kind.
template <class Kind>
int slotsPerFile(Paths const& paths) {
    std::map<int, int> votes;
    for (auto const& [index, path] : paths) {
        auto const header = headerAt(path);
        if (header && sameFamily(*header, LogFile<Kind>::Ops::header(0)) &&
            header->recordCount > 0) {
            ++votes[header->recordCount];
        }
    }
    int slots = 0;
    for (auto const& [count, number] : votes) {
        if (slots == 0 || number >= votes[slots]) slots = count;
    }
    return slots;
}

template <class Kind>
Log<Kind> makeLog(std::string const& directory, std::string const& version, Paths paths) {
    Log<Kind> log;
    log.directory = directory;
    log.version = version;
    int const slots = slotsPerFile<Kind>(paths);
    log.ring = {slots > SmallStorageSlots ? Kind::Files : Kind::SmallFiles, slots};
    for (auto const& [index, path] : paths) {
        LogFile<Kind> const file(index, path, slots);
        if (file.fault()) log.faulty[index] = {path, *file.fault()};
    }
    for (auto const& [index, file] : log.faulty) paths.erase(index);
    log.paths = std::move(paths);
    return log;
}

std::vector<std::string> namesIn(std::string const& directory) {
    std::error_code failed;
    std::vector<std::string> names;
    fs::directory_iterator entries(directory, failed);
    for (; !failed && entries != fs::directory_iterator(); entries.increment(failed)) {
        names.push_back(entries->path().filename());
    }
    if (failed) throw CantRead(directory + ": " + failed.message());
    return names;
}

void addLogsIn(std::string const& directory, std::vector<AnyLog>& logs) {
    std::vector<std::string> const names = namesIn(directory);
    forEachKind([&](auto kind) {
        using Kind = decltype(kind);
        std::map<std::string, Paths> byVersion;
        for (std::string const& name : names) {
            auto const parsed = Kind::parse(name);
            if (parsed) byVersion[parsed->version][parsed->index] = directory + '/' + name;
        }
        bool const hasPointer =
            std::find(names.begin(), names.end(), pointerPath("").substr(1)) != names.end();
        // A pointer alone tells that there were files.
        if (std::is_same_v<Kind, MeasurementKind> && hasPointer) byVersion[""];
        for (auto const& [version, paths] : byVersion) {
            logs.emplace_back(makeLog<Kind>(directory, version, paths));
        }
    });
}

// The kind is what the file says itself, else what its name says.
std::vector<AnyLog> singleFile(std::string const& path) {
    auto const slash = path.rfind('/');
    std::string const directory = slash == std::string::npos ? "." : path.substr(0, slash);
    std::string const name = slash == std::string::npos ? path : path.substr(slash + 1);
    std::vector<AnyLog> logs;
    auto const add = [&](auto kind) {
        using Kind = decltype(kind);
        auto const parsed = Kind::parse(name);
        auto log = makeLog<Kind>(directory, parsed ? parsed->version : "", {{0, path}});
        log.single = true;
        log.shownIndex = parsed ? parsed->index : 0;
        log.ring.files = 1;
        logs.emplace_back(std::move(log));
    };
    auto const header = headerAt(path);
    forEachKind([&](auto kind) {
        using Kind = decltype(kind);
        if (logs.empty() && header && sameFamily(*header, LogFile<Kind>::Ops::header(0))) add(kind);
    });
    forEachKind([&](auto kind) {
        if (logs.empty() && decltype(kind)::parse(name)) add(kind);
    });
    if (logs.empty()) throw CantRead(path + ": not a file of any log");
    return logs;
}

}  // namespace

std::vector<AnyLog> findLogs(std::string const& path) {
    std::error_code failed;
    fs::file_status const status = fs::status(path, failed);
    if (!fs::exists(status)) throw CantRead(path + ": " + std::strerror(failed.value()));
    if (!fs::is_directory(status)) return singleFile(path);
    std::vector<AnyLog> logs;
    addLogsIn(path, logs);
    for (char const* below : {"/data", "/settings"}) {
        if (fs::is_directory(path + below, failed)) addLogsIn(path + below, logs);
    }
    if (logs.empty()) throw CantRead(path + ": no log files");
    return logs;
}

}  // namespace ZEB::tool
