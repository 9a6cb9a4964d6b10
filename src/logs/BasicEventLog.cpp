#include "BasicEventLog.h"

#include <cerrno>
#include <cstdio>
#include <utility>

#include "files/SlotIo.h"
#include "logs/FileWindow.h"
#include "logs/RangeQuery.h"
#include "logs/RecordRun.h"
#include "logs/RingPosition.h"
#include "logs/StartUpWalk.h"
#include "logs/StoreOrCount.h"
#include "msgclasses/ByteStream.h"

namespace ZEB {

namespace {
Ring ring() { return {BasicEventLog::getFileCount(), EventFile::getRecordCount()}; }
}  // namespace

BasicEventLog::BasicEventLog() : mCurrentFile(std::make_shared<EventFile>(0)) {
    FileFacts const zero = factsOf(*mCurrentFile);
    if (zero.isEmpty()) return;
    FileWindow look(std::move(mCurrentFile), openUnlessMissing<EventFile>);
    Place const place = walk(zero, getFileCount(), look);
    mCurrentFile = look.at(place.file.index);
    HeldRange const held = heldAt(place, mCurrentFile->recentRecordIndex(), ring());
    mFirst = held.first;
    mCount = held.count;
}

BasicEventLog::~BasicEventLog() = default;

int BasicEventLog::getFileCount() {
    return EventFile::hasLargeStorage() ? EventFiles : SmallEventFiles;
}

int BasicEventLog::getRecordCount() { return ring().capacity(); }

void BasicEventLog::SetEnabled(bool enabled) { mEnabled = enabled; }

void BasicEventLog::writeRecord(EventMsg const& record) {
    if (!mEnabled) return;
    storeOrCount(mLost, [&] {
        if (!EventFile::isUsable()) return EINVAL;
        Ring const shape = ring();
        HeldRange held{mFirst, mCount};
        held.keepBelowLimit(shape);
        RingPosition const at = ringPosition(static_cast<std::uint64_t>(held.end()), shape);
        if (!isCurrent(at.file)) mCurrentFile = std::make_shared<EventFile>(at.file);
        int const error = mCurrentFile->writeRecord(record, at.slot) ? 0 : errno;
        held.addOne(shape);
        mFirst = held.first;
        mCount = held.count;
        return error;
    });
}

LostRecords BasicEventLog::GetLostRecords() const { return mLost; }

void BasicEventLog::GetRecord(EventMsg* record, unsigned long recordIndex) {
    RingPosition const at = ringPosition(recordIndex, ring());
    *record = fileFor(at.file)->readRecord(at.slot);
}

void BasicEventLog::clear() {
    mFirst = 0;
    mCount = 0;
    mCurrentFile.reset();
    for (int i = 0; i < getFileCount(); ++i) {
        char path[100];
        // A longer path is cut and then names none of the log's files.
        std::snprintf(path, sizeof path, EventFile::getFileNameFormat(), 1, 2, 7, i);
        std::remove(path);
    }
    mCurrentFile = std::make_shared<EventFile>(0);
}

std::int64_t BasicEventLog::IsCurrentFile(char const* path) {
    return mCurrentFile ? mCurrentFile->IsCurrentFile(path) : 0;
}

void BasicEventLog::GetLogRange(ByteBuf& reply) {
    ByteStream out(&reply);
    writeRange(out, static_cast<std::uint32_t>(mFirst), static_cast<std::uint32_t>(mCount));
}

unsigned int BasicEventLog::SetupGetLogRecordsRange(Var const& request, unsigned int* first,
                                                    unsigned short* client) {
    return handToCaller(clampedTo({mFirst, mCount}, readRangeRequest(request)), first, client);
}

void BasicEventLog::GetLogRecords(unsigned int* first, unsigned int* count, unsigned short client,
                                  ByteBuf& reply) {
    if (*count == 0) return;
    RingPosition const at = ringPosition(*first, ring());
    auto const file = fileFor(at.file);
    auto const length = runLength(*count, ring().slotsPerFile - at.slot, EventFile::TakeMax);
    writeRun(file.get(), at.slot, *first, length, client, reply);
    *first += length;
    *count -= length;
}

bool BasicEventLog::isCurrent(int fileIndex) const {
    return mCurrentFile && mCurrentFile->mFileIndex == fileIndex;
}

std::shared_ptr<EventFile> BasicEventLog::fileFor(int fileIndex) const {
    return isCurrent(fileIndex) ? mCurrentFile : std::make_shared<EventFile>(fileIndex);
}

}  // namespace ZEB
