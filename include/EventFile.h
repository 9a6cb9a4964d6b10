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
// Opening accepts a sound file, makes a missing one (or brings it back from the
// backup) and replaces one whose length or header is wrong by an empty file; its
// records are then lost. It reads the header and slot 0 only. The newest record
// is looked for, by about 17 single reads, when first asked for.
//
// Reads may run side by side with each other and with a write, except
// readRecord(0), which copies mFirstRecord; keep writers of one object apart.
// Writes are not flushed. Nothing throws but std::bad_alloc. After a failed
// opening the object stays, closed: reads give default records, writes fail.
class [[gnu::visibility("default")]] EventFile {
  public:
    static constexpr char Cookie[12] = "VEK KIB EL";
    static constexpr std::uint16_t VersionData = 1;
    static constexpr std::uint16_t RecordSize = 62;  // bytes of a slot
    static constexpr std::uint32_t TakeMax = 716;    // records of one range reply

    // Settles the class's settings, once; done by every constructor. Must end
    // before another thread uses the class.
    static void Init();
    // Points the class at the event files beside path, with the record count of
    // path's header and the given version numbers in their names; 1, or 0 with a
    // message on standard error. A path over 999 characters, or a directory over 973
    // or with a '%', changes nothing, nor does one that can't be opened; a path without
    // a '/' means the current directory. One whose header can't be read or does not
    // match leaves the record count, file size and large-storage flag replaced and
    // isUsable() false. Missing files there are made all the same, with the size that
    // Init settled. Only while no other thread uses the class.
    static int SetUpReading(char const* path, int major, int minor, int fix);
    // False from such a call until one succeeds: the settings would have sound files made
    // again as empty ones, so none is opened or made, and nothing is stored in any.
    static bool isUsable() { return sUsable; }

    // Whether anything stands at the path of that file; false before Init. The
    // second asks the backup data directory.
    static bool FileExist(int fileIndex);
    static bool BackupFileExist(int fileIndex);
    static char const* getFileNameFormat() { return sFileNameFormat; }  // null before Init
    static char const* getFileLocation() { return sFileLocation; }      // null before Init
    static bool hasLargeStorage() { return sLargeStorage; }
    static std::uint16_t getRecordCount() { return sRecordCount; }  // slots of a file
    static std::int64_t getFileSize() { return sFileSize; }         // bytes, -1 before Init
    static std::uint64_t GetBlkSize() { return sBlkSize; }          // bytes

    explicit EventFile(int fileIndex);
    ~EventFile();
    EventFile(EventFile const&) = delete;
    EventFile& operator=(EventFile const&) = delete;

    // Opens the file, or makes it; false leaves the object closed. An open
    // descriptor is closed first.
    bool openFd();
    // Replaces the file at path by a new empty one and opens that; false leaves the
    // object closed.
    bool cleanFile(char const* path);
    void closeFd();

    // Finds the newest record and counts the slots in use; always true.
    bool scanRecords();
    int validRecordCount();   // slots in use
    int recentRecordIndex();  // the newest record's slot, -1 for an empty file
    TimeStamp recentRecordTimeStamp();

    // One slot's record; a default one when it can't be read. Slot 0 is answered
    // from memory. Slots beyond the record count are read if the file has them.
    EventMsg readRecord(int slot);
    // count records from firstSlot on, by one read; all default unless every one
    // could be read. A negative count raises std::bad_alloc.
    std::vector<EventMsg> readRecords(int firstSlot, int count);
    // Both update what the object knows even if the write itself fails. addRecord
    // follows the newest record and never wraps: ask recentRecordIndex() first, else
    // it starts at slot 0. writeRecord takes slots 0 to getRecordCount() - 1. A record
    // that does not fit its slot, or leaves its stream failed, is not written. False sets
    // errno, by the rules of LostRecords.h.
    bool addRecord(EventMsg const& record);
    bool writeRecord(EventMsg const& record, int slot);

    // Flushes the file and returns the offset where the last read or write ended
    // if path is this object's, else 0.
    std::int64_t IsCurrentFile(char const* path);

    void serialize(EventMsg const& record, std::ostream& out) const;
    void deserialize(EventMsg & record, std::istream & in);

    // Copies every backup file, of any version numbers, that is missing from the
    // event directory; false when the backup can't be listed.
    bool RestoreFromBackup();
    // Empties or makes to, then fills it from from. Short writes are not noticed.
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
    int mValidRecordCount = 0;    // 1 from opening until the scan
    int mRecentRecordIndex = -1;  // -1 also while unknown

  public:
    EventMsg mFirstRecord;  // slot 0

  private:
    EventMsg mRecentRecord;
    std::int64_t mOffset = 0;  // where the descriptor would stand; transfers are positioned
    int mOpenError = 0;        // while closed: why, an errno
};

}  // namespace ZEB
