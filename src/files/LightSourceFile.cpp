#include "LightSourceFile.h"

#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "files/FileNames.h"
#include "files/NoLightSourceFile.h"
#include "files/SlotFileOps.h"
#include "files/SlotIo.h"
#include "util/DropCaches.h"
#include "util/VEKPaths.h"

namespace ZEB {

using Ops = SlotFileOps<LightSourceFile>;

// What else differs: the key (RecordKey.h), the one fixed path, DropCaches() also when
// it was closed already, and a constructor that throws and prints nothing.
struct LightSourceFile::Traits : UnlockedTraits<LightSourceFile> {
    using Record = LightSourceRecord;
    static constexpr bool RebuildsInPlace = true;
    static bool findOrRestore(LightSourceFile&) { return true; }
    static void written() { sync(); }
};

std::uint16_t LightSourceFile::sRecordCount = 100;
std::int64_t LightSourceFile::sFileSize = -1;
std::uint64_t LightSourceFile::sBlkSize = 4096;
char const* LightSourceFile::sFileNameFormat = nullptr;

void LightSourceFile::Init() {
    static char FilePath[256];
    static char LightSourceDir[256];
    constexpr unsigned short StandardCount = 1000;
    if (sFileNameFormat != nullptr) return;
    sRecordCount = StandardCount;
    if (SettingsFileExist(LightSourceName, &sRecordCount, StandardCount) == 0) {
        GetBackupSetting(LightSourceName);
    }
    VEKSettingsFile(LightSourceName, FilePath, sizeof FilePath);
    VEKSettingsFile("", LightSourceDir, sizeof LightSourceDir);
    sFileSize = sRecordCount * RecordSize + static_cast<int>(HeaderSize);
    readBlockSize(LightSourceDir, sBlkSize);
    if (sBlkSize < RecordSize) sBlkSize = 2 * RecordSize;
    sFileNameFormat = FilePath;  // last: an Init that threw runs again
}

LightSourceFile::LightSourceFile(int fileIndex) : mFileIndex(fileIndex) {
    Init();
    if (!openFd()) throw NoLightSourceFile(mOpenError);
}

LightSourceFile::~LightSourceFile() { closeFd(); }

bool LightSourceFile::openFd() {
    std::vector<char> path(std::strlen(sFileNameFormat) + 20);
    std::snprintf(path.data(), path.size(), sFileNameFormat, 0);
    return Ops::openOrMake(*this, path.data());
}

bool LightSourceFile::cleanFile(char const* path) { return Ops::make(*this, path); }

void LightSourceFile::closeFd() {
    if (!Ops::closeIfOpen(*this)) DropCaches();
}

bool LightSourceFile::fileFull() { return readRecord(sRecordCount - 1).timeStamp().seconds() > 0; }

bool LightSourceFile::scanRecords() {
    Ops::scan(*this);
    return true;
}

int LightSourceFile::validRecordCount() {
    Ops::scanUnlessKnown(*this);
    return mValidRecordCount;
}

int LightSourceFile::recentRecordIndex() {
    Ops::scanUnlessKnown(*this);
    return mRecentRecordIndex;
}

TimeStamp LightSourceFile::recentRecordTimeStamp() {
    Ops::scanUnlessKnown(*this);
    return mRecentRecord.timeStamp();
}

LightSourceRecord LightSourceFile::readRecord(int slot) { return Ops::read(*this, slot); }

std::vector<LightSourceRecord> LightSourceFile::readRecords(int firstSlot, int count) {
    return Ops::readRun(*this, firstSlot, count);
}

bool LightSourceFile::addRecord(LightSourceRecord const& record) { return Ops::add(*this, record); }

bool LightSourceFile::writeRecord(LightSourceRecord const& record, int slot) {
    return Ops::write(*this, record, slot);
}

}  // namespace ZEB
