#pragma once

#include <memory>
#include <set>

#include "LostRecords.h"
#include "MeasurementFile.h"
#include "msgclasses/ByteBuf.h"
#include "msgclasses/MeasurementRecord.h"
#include "msgclasses/Var.h"
#include "util/Mutex.h"

namespace ZEB {

struct HeldRange;

// The measurement log: a ring of 400 measurement files that starts again at file 0
// when it is full; each new record then replaces the oldest. Records have record
// indices: at most getRecordCount() consecutive ones are held, and a restart numbers
// them again. docs/reliability.md says what a crash leaves.
//
// A small file in the same directory, the pointer, names the file being written. A start
// without one copies the backup directory /mnt/sysdata/veklogs over the live files if it
// has a pointer, and else searches the files.
//
// Thread-safe where not marked otherwise: one mutex, held for each operation as a whole,
// including a move to a new file and the flush of the pointer. Nothing throws but
// std::bad_alloc and what a record's methods throw; the log can be used after it. A
// record whose write failed is counted all the same, without a report: ask
// GetLostRecords().
class [[gnu::visibility("default")]] BasicMeasurementLog {
  public:
    // Finds the file being written and what the log holds. Opens at most two files
    // if the pointer is good. Writing is off at first.
    BasicMeasurementLog();
    ~BasicMeasurementLog();
    BasicMeasurementLog(BasicMeasurementLog const&) = delete;
    BasicMeasurementLog& operator=(BasicMeasurementLog const&) = delete;

    static void init();           // MeasurementFile::Init
    static int getFileCount();    // 400; 5 before the first log or init()
    static int getRecordCount();  // the capacity, 26000000; 5000 before that

    void SetEnabled(bool enabled);
    // Appends one record with one write of 110 bytes, not flushed; at the end of a file it
    // moves to the next one first. While writing is off the record is dropped.
    void writeRecord(MeasurementRecord const& record);
    // The records given while writing was on and not stored.
    LostRecords GetLostRecords() const;
    // Removes the ring's files and starts again at file 0. Paths over 199 characters are
    // cut, and what is at the cut path is removed.
    void Clear();
    // Closes the open files. Records are still counted; a move to another file opens that.
    void close();
    long GetFirst();  // the oldest record's index
    long GetCount();  // records held

    // Writes the records from dateToIndex of the earlier time up to and including
    // dateToIndex of the later one as lines of tab-separated text below a header. The times,
    // in seconds, may come in either order; then only their low 32 bits count. An empty log
    // gives the header alone. False when path can't be opened; later write errors are not
    // noticed. Holds the lock while it reads and writes.
    bool SaveToFile(char const* path, long from, long to);

    // Replies with the first index and the count held (4 bytes each). Give each reply a
    // fresh buffer: what an old one holds beyond the reply would stay.
    void GetLogRange(ByteBuf & reply);
    // The same for the records from dateToIndex of the earlier time up to, but not including,
    // dateToIndex of the later one (4 bytes each, in either order; missing bytes count as 0).
    void GetLogRangeDates(Var const& request, ByteBuf& reply);
    // Decodes a request (first and count, 4 bytes each, then 2 bytes of client; missing
    // bytes count as 0). A first index before the oldest record becomes the oldest one's, with
    // the same count; nothing follows the newest. Returns the count.
    unsigned int SetupGetLogRecordsRange(Var const& request, unsigned int* first,
                                         unsigned short* client);
    // Replies with at most 417 records of one file, from *first on, and advances *first
    // and *count; call it until *count is 0.
    void GetLogRecords(unsigned int* first, unsigned int* count, unsigned short client,
                       ByteBuf& reply);

    // The rest takes no lock: call it only while no other thread uses the log.

    // The file of that index: the current one, or the cached one (one is kept), or else
    // opened, and made if missing.
    std::shared_ptr<MeasurementFile> getNxtReadFile(int fileIndex);
    // Takes any index, modulo the capacity; a slot never written gives a record that is
    // not valid, a negative index a default one.
    MeasurementRecord getRecord(int recordIndex);
    // The index within what is held of a record at a time (seconds, unsigned), or else of
    // the first one after it. If all are before it: the last index, or the first if their
    // times are all equal. Of records with the same time it may be any. Reads up to 75
    // records, many of them from files that it opens.
    int dateToIndex(unsigned int date);
    // Opens the file that the pointer names as the current one; without a pointer calls
    // RestoreFromBackup and opens the file that its pointer names. False when there is neither.
    // What the log holds is not counted again.
    bool OpenCurrentFile();
    // Writes the pointer and opens that file as the current one. With pointerOnly opens none
    // and dates the pointer 1970, since the file may have been begun long ago. A pointer that
    // can't be written is reported, and the log goes on.
    void NewCurrentFile(int fileIndex, bool pointerOnly);
    // Copies the backup's files over the live ones and gives its pointer. False when the
    // backup has no pointer or can't be listed.
    bool RestoreFromBackup(int* fileIndex);
    // As EventFile::CopyLog.
    bool CopyLog(char const* from, char const* to);

  private:
    void findPlaceByPointer();
    void findPlaceByFiles();
    void makeCurrent(int fileIndex);
    bool isCurrent(int fileIndex) const;
    std::uint32_t timeOf(int recordIndex);
    void setHeld(HeldRange const& held);

    mutable Mutex mMutex;
    int mFirst = 0;  // not reduced modulo the capacity before it comes near 2^31
    int mCount = 0;
    std::shared_ptr<MeasurementFile> mCurrentFile;  // empty only after an exception
    std::shared_ptr<MeasurementFile> mReadFile;
    bool mEnabled = false;
    std::set<MeasurementRecord::ValueKind> mValueKinds;  // not used here
    LostRecords mLost{};
};

}  // namespace ZEB
