#pragma once

#include <cstdint>
#include <vector>

#include "msgclasses/LightSourceRecord.h"
#include "msgclasses/TimeStamp.h"

namespace ZEB {

template <class File>
struct SlotFileOps;

// The file of the light-source log: an 18-byte header and getRecordCount() slots
// of 36 bytes, each one LightSourceRecord. The newest record is the one with the
// greatest key.
//
// Opening accepts a sound file; it makes a missing one, and rebuilds one that is too
// short or has a wrong header in place, empty (see docs/reliability.md). It reads the header and
// slot 0 only. Every write that succeeds and every rebuilding ends with sync(), which
// flushes all the machine's file systems.
//
// No lock: only one thread at a time may use an object. Nothing throws but std::bad_alloc
// and what a record's methods throw, and the constructor std::logic_error. On a closed
// object reads give default records, but for readRecord(0), which comes from memory,
// and writes fail.
class [[gnu::visibility("default")]] LightSourceFile {
  public:
    static constexpr char Cookie[12] = "VEK KIB LS";
    static constexpr std::uint16_t VersionData = 1;
    static constexpr std::uint16_t RecordSize = 36;  // bytes of a slot

    // Settles the class's settings, once, and copies a missing file from the backup settings
    // if it is there; every constructor does it. It must have returned before another thread
    // uses the class.
    static void Init();
    static char const* getFileNameFormat() { return sFileNameFormat; }  // null before Init
    static std::uint16_t getRecordCount() { return sRecordCount; }      // 100 before Init
    static std::int64_t getFileSize() { return sFileSize; }             // bytes, -1 before Init
    static std::uint64_t GetBlkSize() { return sBlkSize; }              // bytes, at least a slot

    // Throws std::logic_error when the file can be neither opened nor rebuilt.
    explicit LightSourceFile(int fileIndex);
    ~LightSourceFile();
    LightSourceFile(LightSourceFile const&) = delete;
    LightSourceFile& operator=(LightSourceFile const&) = delete;

    // Opens the file, or rebuilds it; an open descriptor is closed first. False leaves
    // the object closed.
    bool openFd();
    // Rebuilds the file at path, empty, and keeps it open. False leaves the object closed.
    bool cleanFile(char const* path);
    void closeFd();

    // Whether the last slot holds a record with a time above 0. Reads the file.
    bool fileFull();

    // Finds the newest record and counts the slots in use, unless a write to a slot other than
    // 0 came before; always true.
    bool scanRecords();
    // The slots in use; after a write to a file not known to be full, those up to its slot.
    int validRecordCount();
    int recentRecordIndex();  // the newest record's slot, -1 for an empty file
    TimeStamp recentRecordTimeStamp();

    // The record of one slot, or a default one when it can't be read. Slot 0 comes
    // from memory. Slots beyond the record count are read if the file has them.
    LightSourceRecord readRecord(int slot);
    // count records from firstSlot on, with one read; all default ones unless all could
    // be read. A negative count raises std::bad_alloc.
    std::vector<LightSourceRecord> readRecords(int firstSlot, int count);
    // addRecord writes after the newest record and never wraps; call recentRecordIndex()
    // before the first one, or it starts at slot 0. writeRecord takes slots 0 to
    // getRecordCount() - 1. A record that does not fit its slot, or leaves its stream
    // failed, is not written. Both update what the object knows even if the write itself
    // fails. False sets errno as LostRecords.h says.
    bool addRecord(LightSourceRecord const& record);
    bool writeRecord(LightSourceRecord const& record, int slot);

  private:
    friend struct SlotFileOps<LightSourceFile>;
    friend struct SlotFileTestAccess;  // of the tests, which make files small
    struct Traits;

    static std::uint16_t sRecordCount;
    static std::int64_t sFileSize;
    static std::uint64_t sBlkSize;
    static char const* sFileNameFormat;

  public:
    int const mFileIndex;  // not part of the file's name

  private:
    int mFd = -1;
    int mValidRecordCount = 0;    // 0 or 1 until a scan or a write
    int mRecentRecordIndex = -1;  // -1 also while unknown

  public:
    LightSourceRecord mFirstRecord;  // slot 0

  private:
    LightSourceRecord mRecentRecord;
    int mOpenError = 0;  // why the file is closed, an errno
};

}  // namespace ZEB
