#include <cstdio>
#include <cstring>
#include <filesystem>

#include "BasicEventLog.h"
#include "Bench.h"
#include "Files.h"
#include "Peers.h"
#include "Rows.h"

namespace bench {

namespace fs = std::filesystem;

using ZEB::BasicEventLog;
using ZEB::EventFile;

namespace {

constexpr EventFile* Kind = nullptr;
constexpr unsigned Million = 1000000;

std::string directoryOf(PeerKind const& kind) { return dataPath(std::string("peer ") + kind.name); }

std::unique_ptr<Peer> openPeer(PeerKind const& kind) {
    fs::create_directories(directoryOf(kind));
    return kind.open(directoryOf(kind));
}

void fillPeer(Peer& peer, unsigned count) {
    char bytes[EventFile::RecordSize] = {};
    peer.beginBulk();
    for (unsigned i = 0; i < count; ++i) {
        std::memcpy(bytes, &i, sizeof i);
        peer.append(i, bytes, sizeof bytes);
    }
    peer.endBulk();
}

void fillLog(unsigned count) {
    auto const log = enabledLog<BasicEventLog>();
    for (unsigned i = 0; i < count; ++i) {
        log->writeRecord(recordAt(Kind, static_cast<std::int32_t>(1 + i)));
    }
}

// The row with one more side for each peer; makeOp(kind) is that side's set-up.
template <class MakeOp>
Row withPeers(Row row, MakeOp makeOp) {
    for (PeerKind const& kind : PeerKinds) {
        row.peers.push_back(side(kind.name, [makeOp, kind] { return makeOp(kind); }));
    }
    return row;
}

Row append() {
    return withPeers(
        appendRow<BasicEventLog, EventFile>("append an event, one transaction each", 0),
        [](PeerKind const& kind) {
            emptyData();
            return [peer = openPeer(kind), key = 0u]() mutable {
                static char const bytes[EventFile::RecordSize] = {1};
                peer->append(key++, bytes, sizeof bytes);
            };
        });
}

Row bulkRead() {
    auto const library = [] {
        return [log = enabledLog<BasicEventLog>()] { fetchAll(*log, Slots); };
    };
    Row const row{
        "read 65000 events", 0, side("library", library), bareFetch<EventFile>(0), {1, 31}};
    return withPeers(row, [](PeerKind const& kind) {
        return [peer = openPeer(kind)] {
            std::vector<char> bytes;
            peer->readAll(bytes);
            require(bytes.size() == Slots * EventFile::RecordSize, "a whole read");
        };
    });
}

// Takes the files' pages out of memory.
void forget(fs::path const& directory) {
    for (auto const& entry : fs::recursive_directory_iterator(directory)) {
        if (!entry.is_regular_file()) continue;
        Fd const fd(open(entry.path().c_str(), O_RDONLY));
        fsync(fd);
        posix_fadvise(fd, 0, 0, POSIX_FADV_DONTNEED);
    }
}

Row coldStart() {
    auto const library = [] {
        forget(dataPath(""));
        return [] {
            BasicEventLog log;
            ZEB::EventMsg newest;
            log.GetRecord(&newest, Million - 1);
            require(newest.timeStamp().seconds() == static_cast<int>(Million), "the newest record");
        };
    };
    auto const bare = [] {
        forget(dataPath(""));
        return [] {
            constexpr int Files = (Million + Slots - 1) / Slots;
            for (int i = 0; i < Files; ++i) openBare<EventFile>(path(Kind, i).c_str(), 2);
            Fd const fd(open(path(Kind, Files - 1).c_str(), O_RDWR));
            readSlotBare<EventFile>(fd, (Million - 1) % Slots);
        };
    };
    Row const row{"cold start on a million events, newest read",
                  0,
                  side("library", library),
                  side("bare", bare),
                  {1, 31, true}};
    return withPeers(row, [](PeerKind const& kind) {
        forget(directoryOf(kind));
        return [kind] {
            unsigned last = 0;
            std::memcpy(&last, openPeer(kind)->newest().data(), sizeof last);
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
    printRow(append());
    emptyData();
    fillLog(Slots);
    for (PeerKind const& kind : PeerKinds) fillPeer(*openPeer(kind), Slots);
    printRow(bulkRead());
    emptyData();
    fillLog(Million);
    for (PeerKind const& kind : PeerKinds) fillPeer(*openPeer(kind), Million);
    printRow(coldStart());
    std::printf("\nBytes on disk for each of a million records of 62 bytes: library %.1f",
                diskBytes(dataPath(""), "event_log") / Million);
    for (PeerKind const& kind : PeerKinds) {
        std::printf(", %s %.1f", kind.name, diskBytes(directoryOf(kind), "") / Million);
    }
    std::printf(".\n");
}

}  // namespace bench
