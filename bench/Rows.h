#pragma once

#include <algorithm>
#include <memory>
#include <random>
#include <vector>

#include "Bench.h"
#include "Files.h"

namespace bench {

void eventRows();
void measurementRows();
void lampRows();
void peerRows();
void growth();  // the charts' data, one line a point
void latency();
void proofs();

// Slots in random order, never slot 0, which a file object answers from memory.
class SomeSlot {
  public:
    int operator()() { return static_cast<int>(1 + mRandom() % (Slots - 1)); }

  private:
    std::minstd_rand mRandom;
};

// A client's way through count records, from the first one held on.
template <class Log>
void fetchAll(Log& log, unsigned count, unsigned first = 0) {
    while (count > 0) {
        ZEB::ByteBuf reply;
        log.GetLogRecords(&first, &count, 5, reply);
    }
}

template <class Log>
std::unique_ptr<Log> enabledLog() {
    auto log = std::make_unique<Log>();
    log->SetEnabled(true);
    return log;
}

template <class Log, class File>
Row appendRow(std::string work, double bound) {
    constexpr int Appends = 3000;  // within one file, and mostly within one time slice
    auto const library = [] {
        emptyData();
        return [log = enabledLog<Log>(), record = recordAt(static_cast<File*>(nullptr), 1000)] {
            log->writeRecord(record);
        };
    };
    auto const calls = [](auto writeAt) {
        return [writeAt] {
            emptyData();
            return [writeAt, fd = makeAllocated(dataPath("bare"), slotAt<File>(Slots)),
                    offset = slotAt<File>(0)]() mutable {
                static char const bytes[File::RecordSize] = {1};
                require(writeAt(fd, bytes, offset) == sizeof bytes, "write");
                offset += File::RecordSize;
            };
        };
    };
    auto const bare = [](int fd, auto const& bytes, off_t offset) {
        lseek(fd, offset, SEEK_SET);
        return write(fd, bytes, sizeof bytes);
    };
    auto const positioned = [](int fd, auto const& bytes, off_t offset) {
        return pwrite(fd, bytes, sizeof bytes, offset);
    };
    return {std::move(work),           bound,          side("library", library),
            side("bare", calls(bare)), {Appends, 101}, {side("pwrite", calls(positioned))}};
}

template <class File>
Side bareSlotReads(int file) {
    return side("bare", [file] {
        return [fd = Fd(open(path(static_cast<File*>(nullptr), file).c_str(), O_RDWR)),
                slot = SomeSlot()]() mutable {
            char bytes[File::RecordSize];
            lseek(fd, slotAt<File>(slot()), SEEK_SET);
            require(read(fd, bytes, sizeof bytes) == sizeof bytes, "read");
        };
    });
}

// A full file in the batches that a fetch reads, at most one block each.
template <class File>
Side bareFetch(int file) {
    return side("bare", [file] {
        int const batch = static_cast<int>(File::GetBlkSize() / File::RecordSize);
        std::vector<char> bytes(static_cast<std::size_t>(batch * File::RecordSize));
        return [fd = Fd(open(path(static_cast<File*>(nullptr), file).c_str(), O_RDWR)), batch,
                bytes]() mutable {
            for (int slot = 0; slot < Slots; slot += batch) {
                auto const size =
                    static_cast<std::size_t>(std::min(batch, Slots - slot) * File::RecordSize);
                lseek(fd, slotAt<File>(slot), SEEK_SET);
                require(read(fd, bytes.data(), size) == static_cast<ssize_t>(size), "read");
            }
        };
    });
}

// The first record of file 1, written when file 0 is full. prepare and before do
// what the log does beyond moving from file to file: in the set-up, and in the
// bare move.
template <class Log, class File, class Prepare, class Before>
Row moveRow(std::string work, int repetitions, Prepare prepare, Before before) {
    constexpr File* Kind = nullptr;
    auto const fullFile = [prepare] {
        emptyData();
        makeFull<File>(0, 1000);
        prepare();
    };
    auto const library = [fullFile] {
        fullFile();
        return
            [log = enabledLog<Log>(), record = recordAt(Kind, 99000)] { log->writeRecord(record); };
    };
    auto const bare = [fullFile, before] {
        fullFile();
        return [before, fd = openBare<File>(path(Kind, 0).c_str(), 1), hidden = dataPath(".new"),
                to = path(Kind, 1)]() mutable {
            static char const bytes[File::RecordSize] = {1};
            struct stat status {};
            before();
            stat(to.c_str(), &status);
            fd = moveBare<File>(hidden, to);
            require(pwrite(fd, bytes, sizeof bytes, slotAt<File>(0)) == sizeof bytes, "write");
        };
    };
    return {std::move(work),
            1.3,
            side("library", library),
            side("bare", bare),
            {1, repetitions, true},
            {},
            1.3};
}

}  // namespace bench
