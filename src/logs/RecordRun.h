#pragma once

#include <algorithm>
#include <cstdint>

#include "files/StreamFormat.h"
#include "logs/RangeQuery.h"
#include "msgclasses/ByteStream.h"

namespace ZEB {

// Visits the records of count consecutive slots. They are read in batches of one block of
// the file system, at least one record each; without a file all are default records.
template <class File, class Visit>
void forEachRecord(File* file, int slot, std::uint32_t count, Visit visit) {
    using Records = decltype(file->readRecords(0, 0));
    auto const batch = std::max<std::uint64_t>(File::GetBlkSize() / File::RecordSize, 1);
    while (count > 0) {
        auto const size = static_cast<std::uint32_t>(std::min<std::uint64_t>(batch, count));
        Records records =
            file != nullptr ? file->readRecords(slot, static_cast<int>(size)) : Records(size);
        for (auto& record : records) visit(record);
        slot += static_cast<int>(size);
        count -= size;
    }
}

template <class File>
void writeRun(File* file, int slot, std::uint32_t first, std::uint32_t count, std::uint16_t client,
              ByteBuf& reply) {
    ByteStream out(&reply);
    StreamFormat const format(out);
    writeRunHeader(out, first, count, client, File::RecordSize);
    forEachRecord(file, slot, count, [&](auto& record) {
        record.setClient(client);
        format.restore(out);
        out << record;
    });
}

}  // namespace ZEB
