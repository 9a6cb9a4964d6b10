#include "BasicMeasurementLog.h"

#include <dirent.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <utility>

#include "files/CopyFile.h"
#include "files/FileNames.h"
#include "files/SlotIo.h"
#include "logs/RecordRun.h"
#include "logs/RingPosition.h"
#include "logs/StartUpWalk.h"
#include "util/VEKLog.h"

namespace ZEB {

namespace {

constexpr std::uint32_t MaxRunLength = 417;
constexpr unsigned short ExportClient = 110;

using Lock = std::lock_guard<Mutex>;

struct CloseStream {
    void operator()(std::FILE* stream) const { std::fclose(stream); }
};
using Stream = std::unique_ptr<std::FILE, CloseStream>;

Ring ring() { return {BasicMeasurementLog::getFileCount(), MeasurementFile::getRecordCount()}; }

bool readPointer(char const* path, int* fileIndex) {
    Stream const in(std::fopen(path, "rb"));
    return in && std::fscanf(in.get(), "%d", fileIndex) == 1;
}

// Flushed at once, since opening it has emptied it.
void writePointer(int fileIndex) {
    char path[200];
    if (!formatPath(path, PointerPathFormat, MeasurementFile::getFileLocation())) {
        errno = ENAMETOOLONG;
        std::perror(path);
        return;
    }
    Stream const out(std::fopen(path, "wb"));
    bool const written = out && std::fprintf(out.get(), "%d", fileIndex) > 0 &&
                         std::fflush(out.get()) == 0 && fsync(fileno(out.get())) == 0;
    if (!written) std::perror(path);
}

void writeLine(std::FILE* out, MeasurementRecord& record) {
    char date[100];
    char time[100];
    record.setClient(ExportClient);
    std::fprintf(out, "%s\t%s\t%s\n", record.GetDateText(date, sizeof date),
                 record.GetTimeText(time, sizeof time), record.asText().c_str());
}

// Whether the file before the one pointed to is newer than it and the file behind
// it, as when the move was cut short before the first record of this round.
std::shared_ptr<MeasurementFile> fileBeforeCutMove(MeasurementFile const& pointed,
                                                   std::int32_t timeBehind) {
    if (pointed.mFileIndex < 0) return nullptr;
    int const before =
        (pointed.mFileIndex == 0 ? BasicMeasurementLog::getFileCount() : pointed.mFileIndex) - 1;
    if (!MeasurementFile::FileExist(before)) return nullptr;
    auto file = std::make_shared<MeasurementFile>(before);
    bool const newer = firstTime(*file) > firstTime(pointed) && firstTime(*file) > timeBehind;
    return newer ? file : nullptr;
}

// The pointer names a file whose successor is not older, so the two disagree: moves
// current to the file being written.
Seam settleByFiles(std::shared_ptr<MeasurementFile>& current, std::int32_t timeBehind) {
    if (auto before = fileBeforeCutMove(*current, timeBehind)) {
        current = std::move(before);
        return Seam::Older;
    }
    int const files = BasicMeasurementLog::getFileCount();
    Seam const seam = walk(current, files);
    if (seam != Seam::LastFile || !MeasurementFile::FileExist(0)) return seam;
    auto start = std::make_shared<MeasurementFile>(0);
    if (firstTime(*start) <= firstTime(*current)) return seam;
    current = std::move(start);
    return walk(current, files);
}

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

int BasicMeasurementLog::getFileCount() { return MeasurementFile::hasLargeStorage() ? 400 : 5; }

int BasicMeasurementLog::getRecordCount() { return ring().capacity(); }

void BasicMeasurementLog::findPlaceByPointer() {
    std::shared_ptr<MeasurementFile> next;
    Seam seam = seamBehind(*mCurrentFile, next);
    if (seam == Seam::Newer) {
        std::int32_t const timeBehind = firstTime(*next);
        next.reset();
        seam = settleByFiles(mCurrentFile, timeBehind);
        adopt(heldAt(*mCurrentFile, seam, ring()));
        NewCurrentFile(mCurrentFile->mFileIndex, true);
        return;
    }
    HeldRange held = heldAt(*mCurrentFile, seam, ring());
    if (mCurrentFile->mFileIndex == getFileCount() - 1) {
        held.count = heldAt(*mCurrentFile, Seam::LastFile, ring()).count;
    }
    adopt(held);
}

void BasicMeasurementLog::findPlaceByFiles() {
    mCurrentFile = std::make_shared<MeasurementFile>(0);
    if (isEmpty(*mCurrentFile)) return;
    Seam const seam = walk(mCurrentFile, getFileCount());
    adopt(heldAt(*mCurrentFile, seam, ring()));
    NewCurrentFile(mCurrentFile->mFileIndex, true);
}

bool BasicMeasurementLog::OpenCurrentFile() {
    char path[1000];
    formatPath(path, PointerPathFormat, MeasurementFile::getFileLocation());
    int fileIndex = 0;
    if (readPointer(path, &fileIndex)) {
        makeCurrent(fileIndex);
        return true;
    }
    if (RestoreFromBackup(&fileIndex)) {
        NewCurrentFile(fileIndex, false);
        return true;
    }
    std::fprintf(stderr, "Failed to read file number from %s\n", path);
    return false;
}

bool BasicMeasurementLog::RestoreFromBackup(int* fileIndex) {
    char from[1000];
    char to[1000];
    formatPath(from, PointerPathFormat, MeasurementBackupDirectory);
    if (!readPointer(from, fileIndex)) return false;
    DIR* const listing = opendir(MeasurementBackupDirectory);
    if (listing == nullptr) {
        std::perror(MeasurementBackupDirectory);
        return false;
    }
    while (dirent const* const entry = readdir(listing)) {
        int index = 0;
        if (std::sscanf(entry->d_name, MeasurementNameFormat, &index) != 1) continue;
        formatPath(from, MeasurementPathFormat, MeasurementBackupDirectory, index);
        formatPath(to, MeasurementPathFormat, MeasurementFile::getFileLocation(), index);
        CopyLog(from, to);
    }
    closedir(listing);
    return true;
}

bool BasicMeasurementLog::CopyLog(char const* from, char const* to) { return copyFile(from, to); }

void BasicMeasurementLog::NewCurrentFile(int fileIndex, bool pointerOnly) {
    writePointer(fileIndex);
    if (pointerOnly) return;
    makeCurrent(fileIndex);
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
    HeldRange held{mFirst, mCount};
    held.keepBelowLimit(ring());
    if (held.end() >= 0) {  // a pointer below 0 counts up from below 0
        RingPosition const at = ringPosition(static_cast<std::uint64_t>(held.end()), ring());
        if (!isCurrent(at.file)) NewCurrentFile(at.file, false);
        mCurrentFile->writeRecord(record, at.slot);
    }
    held.addOne(ring());
    adopt(held);
}

void BasicMeasurementLog::Clear() {
    Lock const lock(mMutex);
    adopt({});
    mCurrentFile.reset();
    mReadFile.reset();
    for (int i = 0; i < getFileCount(); ++i) {
        char path[200];
        formatPath(path, MeasurementFile::getFileNameFormat(), i);
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
    auto const timeOf = [this](int index) {
        return static_cast<std::uint32_t>(getRecord(index).timeStamp().seconds());
    };
    int low = mFirst;
    int high = clampedToInt(HeldRange{mFirst, mCount}.end() - 1);
    while (low < high) {
        std::uint32_t const lowTime = timeOf(low);
        std::uint32_t const highTime = timeOf(high);
        if (lowTime >= date || lowTime == highTime) return low;
        if (highTime <= date) return high;
        int const middle = static_cast<int>(low + (std::int64_t{high} - low) / 2);
        if (date <= timeOf(middle)) {
            high = middle;
        } else {
            low = middle + 1;
        }
    }
    return low;
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
    return giveOut(clampedTo({mFirst, mCount}, readRangeRequest(request)), first, client);
}

void BasicMeasurementLog::GetLogRecords(unsigned int* first, unsigned int* count,
                                        unsigned short client, ByteBuf& reply) {
    std::uint32_t length = 0;
    {
        Lock const lock(mMutex);
        if (*count == 0) return;
        RingPosition const at = ringPosition(*first, ring());
        auto const file = getNxtReadFile(at.file);
        length = runLength(*count, ring().slotsPerFile - at.slot, MaxRunLength);
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
    char header[1024];
    std::fputs(MeasurementRecord::GetHeader(header, sizeof header), out.get());

    Lock const lock(mMutex);
    if (from > to) std::swap(from, to);
    std::int64_t index = std::max(dateToIndex(static_cast<unsigned int>(from)), 0);
    int const last = dateToIndex(static_cast<unsigned int>(to));
    std::int64_t left = mCount > 0 ? last - index + 1 : 0;
    while (left > 0) {
        RingPosition const at = ringPosition(static_cast<std::uint64_t>(index), ring());
        auto const length =
            static_cast<int>(std::min<std::int64_t>(left, ring().slotsPerFile - at.slot));
        forEachRecord(getNxtReadFile(at.file).get(), at.slot, static_cast<std::uint32_t>(length),
                      [&](MeasurementRecord& record) { writeLine(out.get(), record); });
        index += length;
        left -= length;
    }
    out.reset();  // closed before the lock is released
    return true;
}

bool BasicMeasurementLog::isCurrent(int fileIndex) const {
    return mCurrentFile && mCurrentFile->mFileIndex == fileIndex;
}

void BasicMeasurementLog::adopt(HeldRange const& held) {
    mFirst = held.first;
    mCount = held.count;
}

}  // namespace ZEB
