#pragma once

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "Bench.h"
#include "Files.h"

namespace bench {

void logRows();
void peerRows();
void growth();  // the charts' data, one line a point
void latency();
void proofs();

template <class Log>
std::unique_ptr<Log> enabledLog() {
    auto log = std::make_unique<Log>();
    log->SetEnabled(true);
    return log;
}

// A client's way through count records, from index first on.
template <class Log>
void fetchAll(Log& log, unsigned count, unsigned first = 0) {
    while (count > 0) {
        ZEB::ByteBuf reply;
        log.GetLogRecords(&first, &count, 5, reply);
    }
}

// Compared with one write of a slot each.
template <class Kind>
Row appendRow(std::string work, double bound) {
    auto const library = [] {
        emptyData();
        return [log = enabledLog<typename Kind::Log>(), record = Kind::record(1000)] {
            log->writeRecord(record);
        };
    };
    auto const bare = [] {
        emptyData();
        return [fd = makeAllocated(dataPath("bare"), slotAt<Kind>(Slots)), slot = 0]() mutable {
            writeSlot<Kind>(fd, slot++);
        };
    };
    // Within one file, and mostly within one time slice.
    return {std::move(work), bound, {3000, 101}, side(library), side(bare)};
}

// A full file, compared with one read for each batch of at most one block.
template <class Kind>
Row fetchRow(std::string work, double bound, int file) {
    auto const library = [file] {
        return [log = enabledLog<typename Kind::Log>(),
                first = static_cast<unsigned>(file * Slots)] { fetchAll(*log, Slots, first); };
    };
    auto const bare = [file] {
        int const batch = static_cast<int>(Kind::File::GetBlkSize() / Kind::File::RecordSize);
        std::vector<char> bytes(static_cast<std::size_t>(batch) * Kind::File::RecordSize);
        return [fd = openFile(Kind::path(file)), batch, bytes]() mutable {
            for (int slot = 0; slot < Slots; slot += batch) {
                auto const count = static_cast<std::size_t>(std::min(batch, Slots - slot));
                readAt(fd, bytes.data(), count * Kind::File::RecordSize, slotAt<Kind>(slot));
            }
        };
    };
    return {std::move(work), bound, {1, 101}, side(library), side(bare)};
}

}  // namespace bench
