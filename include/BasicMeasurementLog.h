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

// The measurement log: a ring of 400 measurement files that starts again at file
// 0 when it is full, each new record then replacing the oldest. Records are
// addressed by record index: getRecordCount() consecutive ones are held at most,
// and a restart numbers them anew.
//
// A small file beside them, the pointer, names the file being written; it is
// written and flushed before the log moves on. Without it the backup directory
// /mnt/sysdata/veklogs, if it has one, is copied over the live files, else the
// files are walked.
//
// Thread-safe where not marked otherwise: one mutex, held for the whole of each
// operation, a move to a new file with its flush included. Nothing throws but
// std::bad_alloc; after one the log works on. A record whose write failed is
// counted all the same, without a report: ask GetLostRecords().
class [[gnu::visibility("default")]] BasicMeasurementLog {
  public:
    // Finds the file being written and what the log holds; writing is off at
    // first. Opens two files when the pointer is good.
    BasicMeasurementLog();
    ~BasicMeasurementLog();
    BasicMeasurementLog(BasicMeasurementLog const&) = delete;
    BasicMeasurementLog& operator=(BasicMeasurementLog const&) = delete;

    static void init();  // MeasurementFile::Init
    // 400, and 400 full files; 5 and 5000 before the first log or init().
    static int getFileCount();
    static int getRecordCount();

    void SetEnabled(bool enabled);
    // Appends one record: one write of 110 bytes, not flushed; a new file first,
    // where one begins. Drops it while writing is off.
    void writeRecord(MeasurementRecord const& record);
    // What it did not store of the records handed in while writing was on.
    LostRecords GetLostRecords() const;
    // Removes the ring's files and starts again at file 0. Paths over 199 characters
    // are cut to that, and what stands there is removed.
    void Clear();
    // Closes the open files. Writing goes on counting; a move to another file
    // opens that.
    void close();
    long GetFirst();  // the oldest record's index
    long GetCount();  // records held

    // Writes the records between two times (seconds, in either order, their low 32
    // bits looked for), the one at or behind the later included, as lines of
    // tab-separated text below a header; the header alone for an empty log. False
    // when path can't be opened; later write errors stay unnoticed. Holds the lock
    // while it reads and writes.
    bool SaveToFile(char const* path, long from, long to);

    // Replies with the first index and the count held (4 bytes each). Give each
    // reply a fresh buffer: what a buffer holds already is not cut off.
    void GetLogRange(ByteBuf & reply);
    // The same for the records between two times (4 bytes each, in either order,
    // missing bytes 0), the one at the later time not counted.
    void GetLogRangeDates(Var const& request, ByteBuf& reply);
    // Decodes a request (first and count, 4 bytes each, and 2 bytes of client,
    // any of it may be missing) and cuts it to what is held; returns the count.
    unsigned int SetupGetLogRecordsRange(Var const& request, unsigned int* first,
                                         unsigned short* client);
    // Replies with at most 417 records of one file from *first on and moves *first
    // and *count along; call it until *count is 0.
    void GetLogRecords(unsigned int* first, unsigned int* count, unsigned short client,
                       ByteBuf& reply);

    // The rest takes no lock: call it only while no other thread uses the log.

    // The file of that index: the current one, or a cached one (one is kept), or
    // opened, and made if missing.
    std::shared_ptr<MeasurementFile> getNxtReadFile(int fileIndex);
    // Any index, modulo the capacity; a slot never written gives a record that is
    // not valid, a negative index a default one.
    MeasurementRecord getRecord(int recordIndex);
    // The index of the record at a time (seconds, unsigned), or else of the first
    // one behind it, within what is held.
    int dateToIndex(unsigned int date);
    // Opens the file that the pointer, or else the backup, names.
    bool OpenCurrentFile();
    // Writes the pointer and, unless pointerOnly, opens that file as the current
    // one. A pointer that can't be written is reported, and the log goes on.
    void NewCurrentFile(int fileIndex, bool pointerOnly);
    // Copies the backup's files over the live ones and gives its pointer. A backup
    // entry such as "measurement_log3.vek.old" counts as file 3.
    bool RestoreFromBackup(int* fileIndex);
    // Empties or makes to, then fills it from from. Short writes are not noticed.
    bool CopyLog(char const* from, char const* to);

  private:
    void findPlaceByPointer();
    void findPlaceByFiles();
    void makeCurrent(int fileIndex);
    bool isCurrent(int fileIndex) const;
    void setHeld(HeldRange const& held);

    mutable Mutex mMutex;
    int mFirst = 0;  // never reduced modulo the capacity, until 2^31 comes near
    int mCount = 0;
    std::shared_ptr<MeasurementFile> mCurrentFile;  // empty only after an exception
    std::shared_ptr<MeasurementFile> mReadFile;
    bool mEnabled = false;
    std::set<MeasurementRecord::ValueKind> mValueKinds;  // not used here
    LostRecords mLost{};
};

}  // namespace ZEB
