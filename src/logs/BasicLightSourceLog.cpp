#include "BasicLightSourceLog.h"

#include <dirent.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "files/FileNames.h"
#include "files/Handles.h"
#include "files/NoLightSourceFile.h"
#include "logs/RangeQuery.h"
#include "logs/RecordRun.h"
#include "logs/RingPosition.h"
#include "logs/StoreOrCount.h"
#include "msgclasses/ByteStream.h"
#include "util/StackMem.h"
#include "util/VEKLog.h"
#include "util/VEKPaths.h"

namespace ZEB {

namespace {

constexpr std::size_t PathSize = 4096;
constexpr std::uint32_t TakeMax = 1170;  // most records of one range reply

Ring ring() { return {BasicLightSourceLog::getFileCount(), LightSourceFile::getRecordCount()}; }

int slotOf(unsigned int index) { return ringPosition(index, ring()).slot; }

// path, a buffer of PathSize bytes, holds the directory's path, length characters long.
// The paths of its entries are built in it too.
void emptyDirectory(char* path, std::size_t length) {
    Listing const listing(opendir(path));
    if (!listing) return;
    while (dirent* const entry = readdir(listing.get())) {
        if (std::strcmp(entry->d_name, ".") == 0 || std::strcmp(entry->d_name, "..") == 0) continue;
        int const added = std::snprintf(path + length, PathSize - length, "/%s", entry->d_name);
        std::size_t const entryLength = length + static_cast<std::size_t>(added);
        if (entryLength < PathSize) {
            if (IsDir(entry)) emptyDirectory(path, entryLength);
            path[entryLength] = '\0';
            std::remove(path);
        }
    }
}

void RemoveDIRFiles(char const* path) {
    StackMem entryPath(PathSize);
    auto const length =
        static_cast<std::size_t>(std::snprintf(entryPath.Str(), entryPath.Size(), "%s", path));
    if (length < entryPath.Size()) emptyDirectory(entryPath.Str(), length);
}

}  // namespace

bool IsDir(dirent* entry) { return entry->d_type == DT_DIR; }

BasicLightSourceLog::BasicLightSourceLog() : mCurrentFile(std::make_shared<LightSourceFile>(0)) {
    bool const full = mCurrentFile->fileFull();
    int const newest = mCurrentFile->recentRecordIndex();
    // A full file has no newest record when its slot 0 is unused; the log goes on there.
    if (newest >= 0) mCurrentIndex = static_cast<unsigned int>(newest);
    mCount = full ? LightSourceFile::getRecordCount() : mCurrentIndex;
}

BasicLightSourceLog::~BasicLightSourceLog() = default;

int BasicLightSourceLog::getFileCount() { return 1; }

int BasicLightSourceLog::getRecordCount() { return ring().capacity(); }

bool BasicLightSourceLog::writeRecord(LightSourceRecord const& record) {
    int const error = storeOrCount(mLost, [&] {
        if (!mCurrentFile) {
            try {
                mCurrentFile = std::make_shared<LightSourceFile>(0);
            } catch (NoLightSourceFile const& none) {
                return none.error;
            }
            // What was counted without a file is stored nowhere, and slot 0 must not stay unused.
            mCurrentIndex = 0;
            mCount = 0;
        }
        return mCurrentFile->writeRecord(record, slotOf(mCurrentIndex)) ? 0 : errno;
    });
    return error == 0;
}

LostRecords BasicLightSourceLog::GetLostRecords() const { return mLost; }

bool BasicLightSourceLog::editRecord(LightSourceRecord const& record) {
    return writeRecord(record);
}

void BasicLightSourceLog::newRecord(LightSourceRecord const& record) {
    writeRecord(record);
    auto const capacity = static_cast<unsigned int>(getRecordCount());
    if (mCount < capacity) ++mCount;
    if (++mCurrentIndex == capacity) mCurrentIndex = 0;
}

LightSourceRecord BasicLightSourceLog::getRecord(unsigned int recordIndex) {
    return mCurrentFile ? mCurrentFile->readRecord(slotOf(recordIndex)) : LightSourceRecord();
}

int BasicLightSourceLog::GetStorageDir(char* buffer, unsigned long size) {
    return std::snprintf(buffer, size, LightSourceFile::getFileNameFormat(), 0);
}

void BasicLightSourceLog::Clear() {
    StackMem path(PathSize);
    StackMem archive(PathSize);
    std::time_t const now = std::time(nullptr);
    std::tm utc{};
    gmtime_r(&now, &utc);
    char stamp[100];
    std::strftime(stamp, sizeof stamp, "%Y%m%d-%H%M%S", &utc);

    mCurrentIndex = 0;
    mCount = 0;
    mCurrentFile.reset();
    for (int i = 0; i < getFileCount(); ++i) {
        std::snprintf(path.Str(), path.Size(), LightSourceFile::getFileNameFormat(), i);
        std::snprintf(archive.Str(), archive.Size(), "%s-%s", path.Str(), stamp);
        VEKLogMsg(2, "%s to %s", path.Str(), archive.Str());
        std::rename(path.Str(), archive.Str());
    }
    mCurrentFile = std::make_shared<LightSourceFile>(0);
}

void BasicLightSourceLog::clearSDCardLog() {
    char path[PathSize];
    VEKDataFile(LampStatisticsName, path, sizeof path);
    RemoveDIRFiles(path);
}

void BasicLightSourceLog::close() {
    if (mCurrentFile) mCurrentFile->closeFd();
}

void BasicLightSourceLog::GetLogRange(ByteBuf& reply) {
    ByteStream out(&reply);
    bool const full = mCount == static_cast<unsigned int>(getRecordCount());
    writeRange(out, full ? static_cast<std::uint32_t>(slotOf(mCurrentIndex + 1)) : 0, mCount);
}

unsigned int BasicLightSourceLog::SetupGetLogRecordsRange(Var const& request, unsigned int* first,
                                                          unsigned short* client) {
    return handToCaller(readRangeRequest(request), first, client);
}

void BasicLightSourceLog::GetLogRecords(unsigned int* first, unsigned int* count,
                                        unsigned short client, ByteBuf& reply) {
    if (*count == 0) return;
    int const slot = slotOf(*first);
    auto const length = runLength(*count, ring().slotsPerFile - slot, TakeMax);
    writeRun(mCurrentFile.get(), slot, *first, length, client, reply);
    *first += length;
    *count -= length;
}

}  // namespace ZEB
