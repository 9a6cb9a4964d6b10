#pragma once

#include <algorithm>
#include <random>
#include <vector>

#include "Files.h"

namespace bench {

void eventRows();

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

// A full file in the batches that a fetch reads, at most one block each.
template <class File>
void readInBatches(std::string const& path) {
    static Fd fd;
    static std::string opened;
    if (opened != path) fd = Fd(open((opened = path).c_str(), O_RDWR));
    int const batch = static_cast<int>(File::GetBlkSize() / File::RecordSize);
    std::vector<char> bytes(static_cast<std::size_t>(batch * File::RecordSize));
    for (int slot = 0; slot < Slots; slot += batch) {
        auto const size =
            static_cast<std::size_t>(std::min(batch, Slots - slot) * File::RecordSize);
        lseek(fd, slotAt<File>(slot), SEEK_SET);
        require(read(fd, bytes.data(), size) == static_cast<ssize_t>(size), "read");
    }
}

}  // namespace bench
