#pragma once

#include <cstdint>
#include <iosfwd>
#include <vector>

#include "msgclasses/EventMsg.h"
#include "msgclasses/TimeStamp.h"
#include "util/Mutex.h"

namespace ZEB {

class FileCreator;
template <class File>
struct SlotFileOps;

// One file of the event log: an 18-byte header and getRecordCount() slots of 62
// bytes, each one EventMsg.
//
// Opening accepts a sound file, restores a missing one from the backup or makes it,
// and replaces one that is too short or has a wrong header with an empty file (see
// docs/reliability.md). It reads the header and slot 0 only. The newest record is
// looked for when it is first asked for, with about 17 single reads.
//
// readRecords, IsCurrentFile, and readRecord of a slot other than 0 may run in parallel
// with each other and with one write; all else only while no other thread uses the object.
// Writes are not flushed. Nothing throws but std::bad_alloc and what a record's methods
// throw. After a failed opening the object is closed: reads give default records, but for
// readRecord(0), which comes from memory, and writes fail.
class [[gnu::visibility("default")]] EventFile {
  public:
    static constexpr char Cookie[12] = "VEK KIB EL";
    static constexpr std::uint16_t VersionData = 1;
    static constexpr std::uint16_t RecordSize = 62;  // bytes of a slot
    static constexpr std::uint32_t TakeMax = 716;    // most records of one range reply

    // Settles the class's settings, once; every constructor does it. It must have
    // returned before another thread uses the class.
    static void Init();
    // Points the class at the event files in the directory of path, with the record count
    // of path's header and the given version numbers in their names. A path without a '/'
    // means the current directory. Returns 1, or 0 with a message on standard error. A path
    // over 999 characters, a directory over 937 or with a '%', or a file that can't be
    // opened changes nothing, but Init has run. A file whose header can't be read or does
    // not match may change the record count, file size and large-storage flag and makes
    // isUsable() false. Missing files are made there too, with the size that Init settled.
    // Only while no other thread uses the class.
    static int SetUpReading(char const* path, int major, int minor, int fix);
    // False after such a call until one succeeds. With settings from two files, sound ones
    // would be replaced with empty ones, so objects open, make and write none.
    static bool isUsable() { return sUsable; }

    // Whether stat finds anything at the path of that file; false before Init.
    static bool FileExist(int fileIndex);
    static bool BackupFileExist(int fileIndex);  // in the backup data directory
    static char const* getFileNameFormat() { return sFileNameFormat; }  // null before Init
    static char const* getFileLocation() { return sFileLocation; }      // null before Init
    static bool hasLargeStorage() { return sLargeStorage; }
    static std::uint16_t getRecordCount() { return sRecordCount; }  // slots; 1396 before Init
    static std::int64_t getFileSize() { return sFileSize; }         // bytes, -1 before Init
    static std::uint64_t GetBlkSize() { return sBlkSize; }          // bytes

    explicit EventFile(int fileIndex);
    ~EventFile();
    EventFile(EventFile const&) = delete;
    EventFile& operator=(EventFile const&) = delete;

    // Opens the file, or makes it; an open descriptor is closed first. False leaves the
    // object closed. If an open object's file has vanished and the backup has none, the
    // first call fails and the next one makes it. While isUsable() is false, nothing is
    // changed.
    bool openFd();
    // Replaces the file at path with a new empty one and opens that. False leaves the
    // object closed, or, while isUsable() is false, unchanged.
    bool cleanFile(char const* path);
    void closeFd();

    // Finds the newest record and counts the slots in use, unless a write to a slot other than
    // 0 came before; always true.
    bool scanRecords();
    // The slots in use; after a write to a file not known to be full, those up to its slot.
    int validRecordCount();
    int recentRecordIndex();  // the newest record's slot, -1 for an empty file
    TimeStamp recentRecordTimeStamp();

    // The record of one slot, or a default one when it can't be read. Slot 0 comes
    // from memory. Slots beyond the record count are read if the file has them.
    EventMsg readRecord(int slot);
    // count records from firstSlot on, with one read; all default ones unless all could
    // be read. A negative count raises std::bad_alloc.
    std::vector<EventMsg> readRecords(int firstSlot, int count);
    // addRecord writes after the newest record and never wraps; call recentRecordIndex()
    // before the first one, or it starts at slot 0. writeRecord takes slots 0 to
    // getRecordCount() - 1. A record that does not fit its slot, or leaves its stream
    // failed, is not written. Both update what the object knows even if the write itself
    // fails. False sets errno as LostRecords.h says.
    bool addRecord(EventMsg const& record);
    bool writeRecord(EventMsg const& record, int slot);

    // If path is this object's and it is open: flushes the file and returns the offset where
    // the last read or write ended. Else 0. A flush that fails is not noticed.
    std::int64_t IsCurrentFile(char const* path);

    void serialize(EventMsg const& record, std::ostream& out) const;
    void deserialize(EventMsg & record, std::istream & in);

    // Copies every backup file, of any version numbers, that the event directory lacks.
    // False when the backup can't be listed.
    bool RestoreFromBackup();
    // Copies the file from over the file to, which is made if missing. False when one
    // can't be opened; without from, to is left empty. Short writes are not noticed.
    bool CopyLog(char const* from, char const* to);

  private:
    friend struct SlotFileOps<EventFile>;
    friend struct SlotFileTestAccess;  // of the tests, which make files small
    struct Traits;

    static bool takeSettingsFrom(char const* path);

    static char const* sFileNameFormat;
    static char const* sFileLocation;
    static bool sLargeStorage;
    static std::uint16_t sRecordCount;
    static std::uint64_t sBlkSize;
    static std::int64_t sFileSize;
    static std::uint32_t sVersionMajor;
    static std::uint32_t sVersionMinor;
    static std::uint32_t sVersionFix;
    static bool sUsable;
    static FileCreator* mFileCreator;

    Mutex mMutex;

  public:
    int const mFileIndex;

  private:
    int mFd = -1;
    char mFilePath[4096];
    int mValidRecordCount = 0;    // 0 or 1 until a scan or a write
    int mRecentRecordIndex = -1;  // -1 also while unknown

  public:
    EventMsg mFirstRecord;  // slot 0

  private:
    EventMsg mRecentRecord;
    std::int64_t mOffset = 0;  // where the last read or write ended
    int mOpenError = 0;        // why the file is closed, an errno
};

}  // namespace ZEB
