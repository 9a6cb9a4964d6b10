#include "MeasurementFile.h"

#include <cerrno>
#include <cstddef>

#include "files/FileNames.h"
#include "files/SlotFileOps.h"
#include "files/SlotIo.h"
#include "util/FileCreator.h"
#include "util/VEKLog.h"
#include "util/VEKPaths.h"

namespace ZEB {

using Ops = SlotFileOps<MeasurementFile>;

// What else differs: a path of at most 99 characters.
struct MeasurementFile::Traits : UnlockedTraits<MeasurementFile> {
    using Record = MeasurementRecord;
    static constexpr bool RebuildsInPlace = false;
    static constexpr char const* UnlinkFailed = "Measurement file failed to unlink";
    static bool findOrRestore(MeasurementFile& file) { return FileExist(file.mFileIndex); }
    static void written() {}
};

std::uint16_t MeasurementFile::sRecordCount = 1000;
std::int64_t MeasurementFile::sFileSize = -1;
std::uint64_t MeasurementFile::sBlkSize = 4096;
bool MeasurementFile::sLargeStorage = false;
char const* MeasurementFile::sFileNameFormat = nullptr;
char const* MeasurementFile::sFileLocation = nullptr;
FileCreator* MeasurementFile::mFileCreator = nullptr;

namespace {
constexpr std::size_t PathSize = 100;
constexpr std::uint16_t FullRecordCount = 65000;
}  // namespace

void MeasurementFile::Init() {
    static char DataFileFormat[256];
    static char DataFileDir[256];
    if (sFileNameFormat != nullptr) return;
    VEKDataFile(MeasurementNameFormat, DataFileFormat, sizeof DataFileFormat);
    VEKDataFile("", DataFileDir, sizeof DataFileDir);
    readBlockSize(DataFileDir, sBlkSize);
    constexpr int FileSize = RecordSize * FullRecordCount + static_cast<int>(HeaderSize);
    // Before the settings: an Init that threw runs again.
    mFileCreator = new FileCreator(MeasurementCreatorName, DataFileDir, FileSize);
    sLargeStorage = true;
    sRecordCount = FullRecordCount;
    sFileSize = FileSize;
    sFileLocation = DataFileDir;
    sFileNameFormat = DataFileFormat;
}

char const* MeasurementFile::getFileLocation() {
    Init();
    return sFileLocation;
}

bool MeasurementFile::FileExist(int fileIndex) {
    if (sFileNameFormat == nullptr) return false;
    char path[PathSize];
    if (!formatPath(path, sFileNameFormat, fileIndex)) {
        VEKLogMsg(1, "ZEB::MeasurementFile::FileExist - filepath %s (%d) too long", sFileNameFormat,
                  fileIndex);
        return false;
    }
    return exists(path);
}

MeasurementFile::MeasurementFile(int fileIndex) : mFileIndex(fileIndex) {
    Init();
    Ops::openOrReport(*this, "No way to create Measurement Log File");
}

MeasurementFile::~MeasurementFile() { closeFd(); }

bool MeasurementFile::openFd() {
    char path[PathSize];
    if (!formatPath(path, sFileNameFormat, mFileIndex)) {
        VEKLogMsg(1, "ZEB::MeasurementFile::openFd - filepath %s (%d) too long", sFileNameFormat,
                  mFileIndex);
        return Ops::notOpened(*this, ENAMETOOLONG);
    }
    return Ops::openOrMake(*this, path);
}

bool MeasurementFile::cleanFile(char const* path) { return Ops::make(*this, path); }

void MeasurementFile::closeFd() { Ops::closeIfOpen(*this); }

bool MeasurementFile::scanRecords() {
    Ops::scan(*this);
    return true;
}

int MeasurementFile::validRecordCount() {
    Ops::scanUnlessKnown(*this);
    return mValidRecordCount;
}

int MeasurementFile::recentRecordIndex() {
    Ops::scanUnlessKnown(*this);
    return mRecentRecordIndex;
}

TimeStamp MeasurementFile::recentRecordTimeStamp() {
    Ops::scanUnlessKnown(*this);
    return mRecentRecord.timeStamp();
}

MeasurementRecord MeasurementFile::readRecord(int slot) { return Ops::read(*this, slot); }

std::vector<MeasurementRecord> MeasurementFile::readRecords(int firstSlot, int count) {
    return Ops::readRun(*this, firstSlot, count);
}

bool MeasurementFile::addRecord(MeasurementRecord const& record) { return Ops::add(*this, record); }

bool MeasurementFile::writeRecord(MeasurementRecord const& record, int slot) {
    return Ops::write(*this, record, slot);
}

}  // namespace ZEB
