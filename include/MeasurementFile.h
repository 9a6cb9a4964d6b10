#pragma once

#include <cstdint>
#include <vector>

#include "msgclasses/MeasurementRecord.h"
#include "msgclasses/TimeStamp.h"

namespace ZEB {

class FileCreator;
template <class File>
struct SlotFileOps;

// One file of the measurement log: an 18-byte header and getRecordCount() slots
// of 110 bytes, each one MeasurementRecord. Its path has at most 99 characters.
//
// Opening accepts a sound file, makes a missing one and replaces one that is too short
// or has a wrong header with an empty file (see docs/reliability.md). It reads the header
// and slot 0 only. The newest record is looked for when it is first asked for, with
// about 17 single reads.
//
// No lock: only one thread at a time may use an object. Writes are not flushed.
// Nothing throws but std::bad_alloc and what a record's methods throw. After a failed
// opening the object is closed: reads give default records, but for readRecord(0),
// which comes from memory, and writes fail.
class [[gnu::visibility("default")]] MeasurementFile {
  public:
    static constexpr char Cookie[12] = "VEK KIB ML";
    static constexpr std::uint16_t VersionData = 1;
    static constexpr std::uint16_t RecordSize = 110;  // bytes of a slot

    // Settles the class's settings, once; every constructor does it. It must have
    // returned before another thread uses the class.
    static void Init();

    // Whether stat finds anything at the path of that file; false before Init.
    static bool FileExist(int fileIndex);
    static char const* getFileNameFormat() { return sFileNameFormat; }  // null before Init
    static char const* getFileLocation();                               // runs Init
    static bool hasLargeStorage() { return sLargeStorage; }
    static std::uint16_t getRecordCount() { return sRecordCount; }  // slots; 1000 before Init
    static std::int64_t getFileSize() { return sFileSize; }         // bytes, -1 before Init
    static std::uint64_t GetBlkSize() { return sBlkSize; }          // bytes

    explicit MeasurementFile(int fileIndex);
    ~MeasurementFile();
    MeasurementFile(MeasurementFile const&) = delete;
    MeasurementFile& operator=(MeasurementFile const&) = delete;

    // Opens the file, or makes it; an open descriptor is closed first. False leaves the
    // object closed. If an open object's file has vanished, the first call fails and the
    // next one makes it.
    bool openFd();
    // Replaces the file at path with a new empty one and opens that. False leaves the
    // object closed.
    bool cleanFile(char const* path);
    void closeFd();
    bool isOpen() const { return mFd != -1; }

    // Finds the newest record and counts the slots in use, unless a write to a slot other than
    // 0 came before; always true.
    bool scanRecords();
    // The slots in use; after a write to a file not known to be full, those up to its slot.
    int validRecordCount();
    int recentRecordIndex();  // the newest record's slot, -1 for an empty file
    TimeStamp recentRecordTimeStamp();

    // The record of one slot, or a default one when it can't be read. Slot 0 comes
    // from memory. Slots beyond the record count are read if the file has them.
    MeasurementRecord readRecord(int slot);
    // count records from firstSlot on, with one read; all default ones unless all could
    // be read. A negative count raises std::bad_alloc.
    std::vector<MeasurementRecord> readRecords(int firstSlot, int count);
    // addRecord writes after the newest record and never wraps; call recentRecordIndex()
    // before the first one, or it starts at slot 0. writeRecord takes slots 0 to
    // getRecordCount() - 1. A record that does not fit its slot, or leaves its stream
    // failed, is not written. Both update what the object knows even if the write itself
    // fails. False sets errno as LostRecords.h says.
    bool addRecord(MeasurementRecord const& record);
    bool writeRecord(MeasurementRecord const& record, int slot);

  private:
    friend struct SlotFileOps<MeasurementFile>;
    friend struct SlotFileTestAccess;  // of the tests, which make files small
    struct Traits;

    static std::uint16_t sRecordCount;
    static std::int64_t sFileSize;
    static std::uint64_t sBlkSize;
    static bool sLargeStorage;
    static char const* sFileNameFormat;
    static char const* sFileLocation;
    static FileCreator* mFileCreator;

  public:
    int const mFileIndex;

  private:
    int mFd = -1;
    int mValidRecordCount = 0;    // 0 or 1 until a scan or a write
    int mRecentRecordIndex = -1;  // -1 also while unknown

  public:
    MeasurementRecord mFirstRecord;  // slot 0

  private:
    MeasurementRecord mRecentRecord;
    int mOpenError = 0;  // why the file is closed, an errno
};

}  // namespace ZEB
