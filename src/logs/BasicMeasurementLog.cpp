#include "BasicMeasurementLog.h"

#include <dirent.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <utility>

#include "files/CopyFile.h"
#include "files/FileNames.h"
#include "files/Handles.h"
#include "files/PointerFile.h"
#include "files/SlotIo.h"
#include "logs/DateSearch.h"
#include "logs/ExportText.h"
#include "logs/FileWindow.h"
#include "logs/RangeQuery.h"
#include "logs/RecordRun.h"
#include "logs/RingPosition.h"
#include "logs/StartUpWalk.h"
#include "logs/StoreOrCount.h"
#include "msgclasses/ByteStream.h"
#include "msgclasses/TimeStamp.h"
#include "util/VEKLog.h"

namespace ZEB {

namespace {

constexpr std::uint32_t TakeMax = 417;  // most records of one range reply

using Lock = std::lock_guard<Mutex>;

constexpr std::size_t ReadPathSize = 1000;

Ring ring() { return {BasicMeasurementLog::getFileCount(), MeasurementFile::getRecordCount()}; }

// The file that the pointer names.
struct NamedMeasurementFile {
    MeasurementFile& file;

    NamedFile state() const {
        if (!file.isOpen()) {
            return MeasurementFile::FileExist(file.mFileIndex) ? NamedFile::NotOpened
                                                               : NamedFile::NotBegun;
        }
        char path[ReadPathSize];
        char pointer[ReadPathSize];
        bool const fit = formatPath(path, MeasurementFile::getFileNameFormat(), file.mFileIndex) &&
                         formatPath(pointer, PointerPathFormat, MeasurementFile::getFileLocation());
        bool const begun =
            file.mFirstRecord.isValid() && (!fit || modifiedSincePointer(path, pointer));
        return begun ? NamedFile::Begun : NamedFile::NotBegun;
    }
    std::int32_t timeAt(int slot) const { return file.readRecord(slot).timeStamp().seconds(); }
};

}  // namespace

BasicMeasurementLog::BasicMeasurementLog() {
    if (OpenCurrentFile()) {
        findPlaceByPointer();
    } else {
        findPlaceByFiles();
    }
}

BasicMeasurementLog::~BasicMeasurementLog() = default;

void BasicMeasurementLog::init() { MeasurementFile::Init(); }

int BasicMeasurementLog::getFileCount() {
    return MeasurementFile::hasLargeStorage() ? MeasurementFiles : SmallMeasurementFiles;
}

int BasicMeasurementLog::getRecordCount() { return ring().capacity(); }

void BasicMeasurementLog::findPlaceByPointer() {
    FileFacts const named = factsOf(*mCurrentFile);
    FileWindow look(mCurrentFile, openUnlessMissing<MeasurementFile>);
    Place const place = placeByPointer(named, ring(), look, NamedMeasurementFile{*mCurrentFile});
    if (place.file.index != named.index) {
        mCurrentFile = look.at(place.file.index);
        NewCurrentFile(place.file.index, true);
    }
    setHeld(heldAt(place, mCurrentFile->recentRecordIndex(), ring()));
}

void BasicMeasurementLog::findPlaceByFiles() {
    mCurrentFile = std::make_shared<MeasurementFile>(0);
    FileFacts const zero = factsOf(*mCurrentFile);
    if (zero.isEmpty()) return;
    FileWindow look(std::move(mCurrentFile), openUnlessMissing<MeasurementFile>);
    Place const place = walk(zero, getFileCount(), look);
    mCurrentFile = look.at(place.file.index);
    setHeld(heldAt(place, mCurrentFile->recentRecordIndex(), ring()));
    NewCurrentFile(place.file.index, true);
}

bool BasicMeasurementLog::OpenCurrentFile() {
    char path[ReadPathSize];
    bool const fits = formatPath(path, PointerPathFormat, MeasurementFile::getFileLocation());
    int fileIndex = 0;
    if (fits && readPointer(path, &fileIndex)) {
        makeCurrent(fileIndex);
        return true;
    }
    if (RestoreFromBackup(&fileIndex)) {
        NewCurrentFile(fileIndex, true);
        makeCurrent(fileIndex);
        return true;
    }
    std::fprintf(stderr, "Failed to read file number from %s\n", path);
    return false;
}

bool BasicMeasurementLog::RestoreFromBackup(int* fileIndex) {
    char from[ReadPathSize];
    char to[ReadPathSize];
    bool const fits = formatPath(from, PointerPathFormat, MeasurementBackupDirectory);
    if (!fits || !readPointer(from, fileIndex)) return false;
    Listing const listing(opendir(MeasurementBackupDirectory));
    if (!listing) {
        std::perror(MeasurementBackupDirectory);
        return false;
    }
    while (dirent const* const entry = readdir(listing.get())) {
        int index = 0;
        if (std::sscanf(entry->d_name, MeasurementNameFormat, &index) != 1) continue;
        // They fit, since Init limits the directory to 255 characters.
        if (formatPath(from, MeasurementPathFormat, MeasurementBackupDirectory, index) &&
            formatPath(to, MeasurementPathFormat, MeasurementFile::getFileLocation(), index)) {
            CopyLog(from, to);
        }
    }
    return true;
}

bool BasicMeasurementLog::CopyLog(char const* from, char const* to) { return copyFile(from, to); }

void BasicMeasurementLog::NewCurrentFile(int fileIndex, bool pointerOnly) {
    char path[200];
    if (formatPath(path, PointerPathFormat, MeasurementFile::getFileLocation())) {
        writePointer(path, fileIndex, pointerOnly ? PointerWrite::AtStart : PointerWrite::ForMove);
    } else {
        errno = ENAMETOOLONG;
        std::perror(path);
    }
    if (!pointerOnly) makeCurrent(fileIndex);
}

void BasicMeasurementLog::makeCurrent(int fileIndex) {
    mCurrentFile = std::make_shared<MeasurementFile>(fileIndex);
    // Its copy of slot 0 would be stale once the new object has written there.
    if (mReadFile && mReadFile->mFileIndex == fileIndex) mReadFile.reset();
}

void BasicMeasurementLog::SetEnabled(bool enabled) {
    Lock const lock(mMutex);
    mEnabled = enabled;
}

void BasicMeasurementLog::writeRecord(MeasurementRecord const& record) {
    Lock const lock(mMutex);
    if (!mEnabled) return;
    storeOrCount(mLost, [&] {
        HeldRange held{mFirst, mCount};
        held.keepBelowLimit(ring());
        int error = ERANGE;
        if (held.end() >= 0) {  // negative after a pointer below 0
            RingPosition const at = ringPosition(static_cast<std::uint64_t>(held.end()), ring());
            if (!isCurrent(at.file)) NewCurrentFile(at.file, false);
            error = mCurrentFile->writeRecord(record, at.slot) ? 0 : errno;
        }
        held.addOne(ring());
        setHeld(held);
        return error;
    });
}

LostRecords BasicMeasurementLog::GetLostRecords() const {
    Lock const lock(mMutex);
    return mLost;
}

void BasicMeasurementLog::Clear() {
    Lock const lock(mMutex);
    setHeld({});
    mCurrentFile.reset();
    mReadFile.reset();
    for (int i = 0; i < getFileCount(); ++i) {
        char path[200];
        // A longer path is cut, but then the file could not be made either.
        std::snprintf(path, sizeof path, MeasurementFile::getFileNameFormat(), i);
        std::remove(path);
    }
    NewCurrentFile(0, false);
}

void BasicMeasurementLog::close() {
    Lock const lock(mMutex);
    if (mCurrentFile) mCurrentFile->closeFd();
    if (mReadFile) mReadFile->closeFd();
}

long BasicMeasurementLog::GetFirst() {
    Lock const lock(mMutex);
    return mFirst;
}

long BasicMeasurementLog::GetCount() {
    Lock const lock(mMutex);
    return mCount;
}

std::shared_ptr<MeasurementFile> BasicMeasurementLog::getNxtReadFile(int fileIndex) {
    if (isCurrent(fileIndex)) return mCurrentFile;
    if (!mReadFile || mReadFile->mFileIndex != fileIndex) {
        mReadFile = std::make_shared<MeasurementFile>(fileIndex);
    }
    return mReadFile;
}

MeasurementRecord BasicMeasurementLog::getRecord(int recordIndex) {
    if (recordIndex < 0) return {};
    RingPosition const at = ringPosition(static_cast<std::uint64_t>(recordIndex), ring());
    return getNxtReadFile(at.file)->readRecord(at.slot);
}

int BasicMeasurementLog::dateToIndex(unsigned int date) {
    return indexOfDate({mFirst, mCount}, date, [this](int index) { return timeOf(index); });
}

std::uint32_t BasicMeasurementLog::timeOf(int recordIndex) {
    return static_cast<std::uint32_t>(getRecord(recordIndex).timeStamp().seconds());
}

void BasicMeasurementLog::GetLogRange(ByteBuf& reply) {
    Lock const lock(mMutex);
    ByteStream out(&reply);
    writeRange(out, static_cast<std::uint32_t>(mFirst), static_cast<std::uint32_t>(mCount));
}

void BasicMeasurementLog::GetLogRangeDates(Var const& request, ByteBuf& reply) {
    Lock const lock(mMutex);
    DateRange const dates = readDateRange(request);
    auto const first = static_cast<std::uint32_t>(dateToIndex(dates.earlier));
    auto const end = static_cast<std::uint32_t>(dateToIndex(dates.later));
    ByteStream out(&reply);
    writeRange(out, first, end - first);
}

unsigned int BasicMeasurementLog::SetupGetLogRecordsRange(Var const& request, unsigned int* first,
                                                          unsigned short* client) {
    Lock const lock(mMutex);
    return handToCaller(clampedTo({mFirst, mCount}, readRangeRequest(request)), first, client);
}

void BasicMeasurementLog::GetLogRecords(unsigned int* first, unsigned int* count,
                                        unsigned short client, ByteBuf& reply) {
    std::uint32_t length = 0;
    {
        Lock const lock(mMutex);
        if (*count == 0) return;
        RingPosition const at = ringPosition(*first, ring());
        auto const file = getNxtReadFile(at.file);
        length = runLength(*count, ring().slotsPerFile - at.slot, TakeMax);
        writeRun(file.get(), at.slot, *first, length, client, reply);
    }
    *first += length;
    *count -= length;
}

bool BasicMeasurementLog::SaveToFile(char const* path, long from, long to) {
    Stream out(std::fopen(path, "w"));
    if (!out) {
        VEKLogMsg(2, "BasicMeasurementLog::SaveToFile - failed to open %s", path);
        return false;
    }
    writeExportHeader(out.get());

    Lock const lock(mMutex);
    if (from > to) std::swap(from, to);
    auto [index, left] = recordsBetween(static_cast<std::uint32_t>(from),
                                        static_cast<std::uint32_t>(to), {mFirst, mCount}, ring(),
                                        [this](int recordIndex) { return timeOf(recordIndex); });
    while (left > 0) {
        RingPosition const at = ringPosition(static_cast<std::uint64_t>(index), ring());
        auto const length =
            static_cast<int>(std::min<std::int64_t>(left, ring().slotsPerFile - at.slot));
        forEachRecord(getNxtReadFile(at.file).get(), at.slot, static_cast<std::uint32_t>(length),
                      [&](MeasurementRecord& record) { writeExportLine(out.get(), record); });
        index += length;
        left -= length;
    }
    out.reset();  // closed before the lock is released
    return true;
}

bool BasicMeasurementLog::isCurrent(int fileIndex) const {
    return mCurrentFile && mCurrentFile->mFileIndex == fileIndex;
}

void BasicMeasurementLog::setHeld(HeldRange const& held) {
    mFirst = held.first;
    mCount = held.count;
}

}  // namespace ZEB
