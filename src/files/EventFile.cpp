#include "EventFile.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <limits>
#include <mutex>

#include "files/CopyFile.h"
#include "files/FileNames.h"
#include "files/Handles.h"
#include "files/SlotFileOps.h"
#include "files/SlotIo.h"
#include "util/FileCreator.h"
#include "util/VEKLog.h"
#include "util/VEKPaths.h"

namespace ZEB {

using Ops = SlotFileOps<EventFile>;

struct EventFile::Traits {
    using Record = EventMsg;
    static constexpr bool NoLengthIsTooShort = true;
    static constexpr bool RebuildsInPlace = false;
    static constexpr char const* UnlinkFailed = "Event file failed to unlink";
    static std::lock_guard<Mutex> lock(EventFile& file) {
        return std::lock_guard<Mutex>(file.mMutex);
    }
    static bool findOrRestore(EventFile& file) {
        if (!FileExist(file.mFileIndex)) {
            if (!BackupFileExist(file.mFileIndex)) return false;
            file.RestoreFromBackup();
        }
        VEKLogMsg(2, "Current eventfile is %s", file.mFilePath);
        return true;
    }
    static void keepOffset(EventFile& file, std::int64_t offset) { file.mOffset = offset; }
    static void written() {}
};

char const* EventFile::sFileNameFormat = nullptr;
char const* EventFile::sFileLocation = nullptr;
bool EventFile::sLargeStorage = false;
std::uint16_t EventFile::sRecordCount = 1396;
std::uint64_t EventFile::sBlkSize = 4096;
std::int64_t EventFile::sFileSize = -1;
std::uint32_t EventFile::sVersionMajor = 1;
std::uint32_t EventFile::sVersionMinor = 2;
std::uint32_t EventFile::sVersionFix = 7;
bool EventFile::sUsable = true;
FileCreator* EventFile::mFileCreator = nullptr;

namespace {

constexpr std::size_t PathSize = 1000;
constexpr std::uint16_t FullRecordCount = 65000;

// Gives the directory of path and the format of the event files in it. False for a path
// that does not fit, or would not with other numbers in the name, or a directory with a '%',
// which can't be part of a format.
bool formatBeside(char const* path, char (&location)[PathSize], char (&format)[PathSize]) {
    if (!formatPath(location, "%s", path)) return false;
    if (char* const slash = std::strrchr(location, '/')) {
        *slash = '\0';
    } else {
        std::strcpy(location, ".");
    }
    constexpr int Longest = std::numeric_limits<int>::min();
    char longest[PathSize];
    return formatPath(longest, EventPathFormat, location, Longest, Longest, Longest, Longest) &&
           formatPath(format, "%s/%s", location, EventNameFormat) &&
           std::strchr(location, '%') == nullptr;
}

}  // namespace

void EventFile::Init() {
    static char DataFileFormat[256];
    static char DataFileDir[256];
    if (sFileNameFormat != nullptr) return;
    VEKDataFile(EventNameFormat, DataFileFormat, sizeof DataFileFormat);
    VEKDataFile("", DataFileDir, sizeof DataFileDir);
    readBlockSize(DataFileDir, sBlkSize);
    constexpr int FileSize = RecordSize * FullRecordCount + static_cast<int>(HeaderSize);
    // Before the settings: an Init that threw runs again.
    mFileCreator = new FileCreator(EventCreatorName, DataFileDir, FileSize);
    sLargeStorage = true;
    sRecordCount = FullRecordCount;
    sFileSize = FileSize;
    sFileLocation = DataFileDir;
    sFileNameFormat = DataFileFormat;
}

bool EventFile::takeSettingsFrom(char const* path) {
    FileHeader found = Ops::header();
    ssize_t size = 0;
    {
        Descriptor const fd(open(path, O_RDWR));
        if (fd.get() == -1) {
            std::fprintf(stderr, "Failed to open %s\n", path);
            return false;
        }
        sUsable = false;  // until all settings belong to one set of files again
        sFileSize = lseek(fd.get(), 0, SEEK_END);
        size = pread(fd.get(), &found, HeaderSize, 0);
    }
    sRecordCount = found.recordCount;
    if (size != static_cast<ssize_t>(HeaderSize)) {
        std::fprintf(stderr, "FAILED to read header information from %s\n", path);
        return false;
    }
    sLargeStorage = sRecordCount > SmallStorageSlots;
    if (!sameFamily(found, Ops::header()) || sRecordCount == 0) {
        std::fprintf(stderr, "Header information of EventFile does not match\n");
        return false;
    }
    return true;
}

int EventFile::SetUpReading(char const* path, int major, int minor, int fix) {
    static char ReadingFileLocation[PathSize];
    static char ReadingFileFormat[PathSize];
    Init();
    char location[PathSize];
    char format[PathSize];
    if (!formatBeside(path, location, format)) {
        std::fprintf(stderr, "ZEB::EventFile::SetUpReading - path too long or with a %%: %s\n",
                     path);
        return 0;
    }
    if (!takeSettingsFrom(path)) return 0;
    std::strcpy(ReadingFileLocation, location);
    std::strcpy(ReadingFileFormat, format);
    sFileLocation = ReadingFileLocation;
    sVersionMajor = static_cast<std::uint32_t>(major);
    sVersionMinor = static_cast<std::uint32_t>(minor);
    sVersionFix = static_cast<std::uint32_t>(fix);
    sFileNameFormat = ReadingFileFormat;
    sUsable = true;
    return 1;
}

bool EventFile::FileExist(int fileIndex) {
    if (sFileNameFormat == nullptr) return false;
    char path[PathSize];
    if (!formatPath(path, sFileNameFormat, sVersionMajor, sVersionMinor, sVersionFix, fileIndex)) {
        VEKLogMsg(1, "ZEB::EventFile::FileExist - filepath %s (%d) too long", sFileNameFormat,
                  fileIndex);
        return false;
    }
    return exists(path);
}

bool EventFile::BackupFileExist(int fileIndex) {
    char directory[PathSize];
    char path[PathSize];
    VEKBackupDataFile("", directory, sizeof directory);
    if (!formatPath(path, EventPathFormat, directory, sVersionMajor, sVersionMinor, sVersionFix,
                    fileIndex)) {
        VEKLogMsg(1, "ZEB::EventFile::BackupFileExist - filepath %s (%d) too long",
                  sFileNameFormat != nullptr ? sFileNameFormat : EventNameFormat, fileIndex);
        return false;
    }
    return exists(path);
}

EventFile::EventFile(int fileIndex) : mFileIndex(fileIndex) {
    mFilePath[0] = '\0';
    Init();
    Ops::openOrReport(*this, "No way to create Event Log File");
}

EventFile::~EventFile() { closeFd(); }

bool EventFile::openFd() {
    if (!sUsable) return Ops::notOpened(*this, EINVAL);
    if (!formatPath(mFilePath, sFileNameFormat, sVersionMajor, sVersionMinor, sVersionFix,
                    mFileIndex)) {
        VEKLogMsg(1, "ZEB::EventFile::openFd - mFilePath %s (%d) too long", sFileNameFormat,
                  mFileIndex);
        return Ops::notOpened(*this, ENAMETOOLONG);
    }
    return Ops::openOrMake(*this, mFilePath);
}

bool EventFile::cleanFile(char const* path) {
    return sUsable ? Ops::make(*this, path) : Ops::notOpened(*this, EINVAL);
}

void EventFile::closeFd() { Ops::closeIfOpen(*this); }

bool EventFile::scanRecords() {
    Ops::scan(*this);
    return true;
}

int EventFile::validRecordCount() {
    Ops::scanUnlessKnown(*this);
    return mValidRecordCount;
}

int EventFile::recentRecordIndex() {
    Ops::scanUnlessKnown(*this);
    return mRecentRecordIndex;
}

TimeStamp EventFile::recentRecordTimeStamp() {
    Ops::scanUnlessKnown(*this);
    return mRecentRecord.timeStamp();
}

EventMsg EventFile::readRecord(int slot) { return Ops::read(*this, slot); }

std::vector<EventMsg> EventFile::readRecords(int firstSlot, int count) {
    return Ops::readRun(*this, firstSlot, count);
}

bool EventFile::addRecord(EventMsg const& record) {
    return sUsable ? Ops::add(*this, record) : Ops::notWritten(EINVAL);
}

bool EventFile::writeRecord(EventMsg const& record, int slot) {
    return sUsable ? Ops::write(*this, record, slot) : Ops::notWritten(EINVAL);
}

std::int64_t EventFile::IsCurrentFile(char const* path) {
    if (std::strcmp(path, mFilePath) != 0) return 0;
    auto const lock = Traits::lock(*this);
    if (mFd == -1) return 0;
    fsync(mFd);
    return mOffset;
}

void EventFile::serialize(EventMsg const& record, std::ostream& out) const {
    record.serialize(out);
}

void EventFile::deserialize(EventMsg& record, std::istream& in) { record.deserialize(in); }

bool EventFile::RestoreFromBackup() {
    char directory[PathSize];
    VEKBackupDataFile("", directory, sizeof directory);
    Listing const listing(opendir(directory));
    if (!listing) {
        std::perror(directory);
        return false;
    }
    VEKLogMsg(1, "ZEB::EventFile::RestoreFromBackup");
    while (dirent const* const entry = readdir(listing.get())) {
        int major = 0;
        int minor = 0;
        int fix = 0;
        int index = 0;
        if (std::sscanf(entry->d_name, EventNameFormat, &major, &minor, &fix, &index) != 4) {
            continue;
        }
        char from[PathSize];
        char to[PathSize];
        if (!formatPath(from, EventPathFormat, directory, major, minor, fix, index) ||
            !formatPath(to, EventPathFormat, sFileLocation, major, minor, fix, index)) {
            VEKLogMsg(1, "ZEB::EventFile::RestoreFromBackup - filepath of %s too long",
                      entry->d_name);
            continue;
        }
        if (!exists(to)) CopyLog(from, to);
    }
    return true;
}

bool EventFile::CopyLog(char const* from, char const* to) { return copyFile(from, to); }

}  // namespace ZEB
