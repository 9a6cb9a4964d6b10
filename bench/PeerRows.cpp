#include <cstdio>
#include <cstring>
#include <filesystem>

#include "Peers.h"
#include "Rows.h"

namespace bench {

namespace fs = std::filesystem;

namespace {

constexpr unsigned Million = 1000000;

std::string directoryOf(char const* name) { return dataPath(std::string("peer ") + name); }

std::unique_ptr<Peer> open(char const* name) {
    fs::create_directories(directoryOf(name));
    return openPeer(name, directoryOf(name));
}

// The same number of records into the log and each peer.
void fill(unsigned count) {
    emptyData();
    auto const log = enabledLog<ZEB::BasicEventLog>();
    for (unsigned i = 0; i < count; ++i) {
        log->writeRecord(Events::record(static_cast<std::int32_t>(1 + i)));
    }
    char bytes[Events::File::RecordSize] = {};
    for (char const* const name : PeerNames) {
        auto const peer = open(name);
        for (unsigned i = 0; i < count; ++i) {
            std::memcpy(bytes, &i, sizeof i);
            peer->append(i, bytes, sizeof bytes);
        }
    }
}

// Prints the row with one more side for each peer; makeOp(name) is that side's set-up.
template <class MakeOp>
void printWithPeers(Row row, MakeOp makeOp) {
    for (char const* const name : PeerNames) {
        row.others.emplace_back(name, side([makeOp, name] { return makeOp(name); }));
    }
    printRow(row);
}

void append() {
    printWithPeers(appendRow<Events>("append an event, one transaction each", 0),
                   [](char const* name) {
                       emptyData();
                       return [peer = open(name), key = 0U]() mutable {
                           static char const bytes[Events::File::RecordSize] = {1};
                           peer->append(key++, bytes, sizeof bytes);
                       };
                   });
}

void readAll() {
    Row row = fetchRow<Events>("read 65000 events", 0, 0);
    row.repeat = {1, 31};
    printWithPeers(row, [](char const* name) {
        return [peer = open(name)] {
            require(peer->read(false).size() == std::size_t{Slots} * Events::File::RecordSize,
                    "a whole read");
        };
    });
}

// Takes the files' pages out of memory.
void forget(fs::path const& directory) {
    for (auto const& entry : fs::recursive_directory_iterator(directory)) {
        if (!entry.is_regular_file()) continue;
        Fd const fd = openFile(entry.path(), O_RDONLY);
        fsync(fd);
        posix_fadvise(fd, 0, 0, POSIX_FADV_DONTNEED);
    }
}

void coldStart() {
    auto const library = [] {
        forget(dataPath(""));
        return [] {
            ZEB::BasicEventLog log;
            ZEB::EventMsg newest;
            log.GetRecord(&newest, Million - 1);
            require(newest.timeStamp().seconds() == static_cast<int>(Million), "the newest record");
        };
    };
    auto const bare = [] {
        forget(dataPath(""));
        return [] {
            constexpr int Files = (Million + Slots - 1) / Slots;
            for (int i = 0; i < Files; ++i) openSound<Events>(Events::path(i), 2);
            readSlot<Events>(openFile(Events::path(Files - 1)), (Million - 1) % Slots);
        };
    };
    printWithPeers({"cold start on a million events, newest read",
                    0,
                    {1, 31, true},
                    side(library),
                    side(bare)},
                   [](char const* name) {
                       forget(directoryOf(name));
                       return [name] {
                           unsigned last = 0;
                           std::memcpy(&last, open(name)->read(true).data(), sizeof last);
                           require(last == Million - 1, "the newest record");
                       };
                   });
}

double diskBytes(fs::path const& directory, char const* ending) {
    double bytes = 0;
    for (auto const& entry : fs::recursive_directory_iterator(directory)) {
        struct stat status {};
        std::string const name = entry.path();
        if (entry.is_regular_file() && name.find(ending) != std::string::npos &&
            stat(name.c_str(), &status) == 0) {
            bytes += 512.0 * static_cast<double>(status.st_blocks);
        }
    }
    return bytes;
}

}  // namespace

void peerRows() {
    printTableHead();
    append();
    fill(Slots);
    readAll();
    fill(Million);
    coldStart();
    std::printf("\nBytes on disk for each of a million records of 62 bytes: library %.1f",
                diskBytes(dataPath(""), "event_log") / Million);
    for (char const* const name : PeerNames) {
        std::printf(", %s %.1f", name, diskBytes(directoryOf(name), "") / Million);
    }
    std::printf(".\n");
}

}  // namespace bench
