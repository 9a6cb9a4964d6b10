#include "Log.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <thread>

namespace ZEB::tool {

namespace fs = std::filesystem;

namespace {

using Paths = std::map<int, std::string>;

// How often each number of slots was found.
using Votes = std::map<int, int>;

int winnerOf(Votes const& votes) {
    int winner = 0;
    int most = 0;
    for (auto const& [slots, number] : votes) {
        if (slots > 0 && number >= most) {
            winner = slots;
            most = number;
        }
    }
    return winner;
}

// What most of the files say, or, when none has a header of the kind, have.
template <class Kind>
int slotsPerFile(Paths const& paths) {
    Votes said;
    Votes had;
    for (auto const& [index, path] : paths) {
        auto const header = headerAt(path);
        bool const isKind = header && sameFamily(*header, LogFile<Kind>::Ops::header(0));
        if (isKind) ++said[header->recordCount];
        ++had[slotsIn(path, LogFile<Kind>::RecordSize)];
    }
    int const slots = winnerOf(said);
    return slots > 0 ? slots : winnerOf(had);
}

template <class Kind>
Log<Kind> makeLog(std::string const& directory, std::string const& version, Paths paths) {
    Log<Kind> log;
    log.directory = directory;
    log.version = version;
    int const slots = slotsPerFile<Kind>(paths);
    log.ring = {slots > SmallStorageSlots ? Kind::Files : Kind::SmallFiles, slots};
    for (auto it = paths.begin(); it != paths.end();) {
        LogFile<Kind> const file(it->first, it->second, slots);
        bool const isGone = file.fault() && !exists(it->second.c_str());
        if (file.fault() && !isGone) log.faulty[it->first] = {it->second, *file.fault()};
        it = file.fault() ? paths.erase(it) : std::next(it);
    }
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

FoundLogs findLogs(std::string const& path) {
    FoundLogs found;
    std::error_code failed;
    fs::file_status const status = fs::status(path, failed);
    if (!fs::exists(status)) throw CantRead(path + ": " + std::strerror(failed.value()));
    if (!fs::is_directory(status)) {
        found.logs = singleFile(path);
    } else {
        addLogsIn(path, found.logs);
        for (char const* below : {"/data", "/settings"}) {
            try {
                fs::file_status const inner = fs::status(path + below, failed);
                if (inner.type() == fs::file_type::none) {
                    throw CantRead(path + below + ": " + failed.message());
                }
                if (fs::is_directory(inner)) addLogsIn(path + below, found.logs);
            } catch (CantRead const& failure) {
                found.unreadable.emplace_back(failure.what());
            }
        }
        if (found.logs.empty() && found.unreadable.empty()) throw CantRead(path + ": no log files");
    }
    for (AnyLog& any : found.logs) {
        std::visit([&](auto& log) { log.origin = path; }, any);
    }
    return found;
}

namespace {

enum class Faults { None, Some, OfNewFiles };

Faults faultsOf(std::vector<AnyLog> const& logs) {
    Faults faults = Faults::None;
    for (AnyLog const& any : logs) {
        std::visit(
            [&](auto const& log) {
                for (auto const& [index, file] : log.faulty) {
                    faults = std::max(faults, file.fault.isNew ? Faults::OfNewFiles : Faults::Some);
                }
            },
            any);
    }
    return faults;
}

}  // namespace

std::vector<AnyLog> findLogs(std::string const& path, Status& status) {
    constexpr int MostLooks = 50;
    constexpr std::chrono::milliseconds Pause{20};
    FoundLogs found = findLogs(path);
    for (int looks = 1; looks < MostLooks; ++looks) {
        Faults const faults = faultsOf(found.logs);
        if (faults == Faults::None || (faults == Faults::Some && looks > 1)) break;
        std::this_thread::sleep_for(Pause);
        found = findLogs(path);
    }
    for (std::string const& cause : found.unreadable) status.complain(Unreadable, cause);
    return std::move(found.logs);
}

}  // namespace ZEB::tool
