#pragma once

#include <memory>

#include "LightSourceFile.h"
#include "LostRecords.h"
#include "msgclasses/ByteBuf.h"
#include "msgclasses/LightSourceRecord.h"
#include "msgclasses/Var.h"

struct dirent;

namespace ZEB {

// Whether the directory entry's type is reported as a directory.
[[gnu::visibility("default")]] bool IsDir(dirent* entry);

// The log of lamp statistics: one file of 1000 slots used as a ring. The record
// of the current slot can be written again and again; newRecord writes it and
// moves on. Until the log is full, the record in the current slot is not counted.
// docs/reliability.md says what a restart and a crash leave.
//
// No lock: only one thread at a time may use a log, and only one log per file. Every slot
// write that succeeds ends with sync(), which flushes all the machine's file systems.
// The constructor and Clear throw std::logic_error when the file can be neither opened
// nor made. After such a Clear the log has no file: reads give default records, and each
// write, or Clear, tries to open it and then starts at index 0.
class [[gnu::visibility("default")]] BasicLightSourceLog {
  public:
    BasicLightSourceLog();
    ~BasicLightSourceLog();
    BasicLightSourceLog(BasicLightSourceLog const&) = delete;
    BasicLightSourceLog& operator=(BasicLightSourceLog const&) = delete;

    static int getFileCount();    // 1
    static int getRecordCount();  // the capacity; 100 before the first lamp file

    // Both write the current slot; false when that fails.
    bool writeRecord(LightSourceRecord const& record);
    bool editRecord(LightSourceRecord const& record);
    // Writes the current slot and moves on to the next, even if the write fails. The first
    // one after a restart writes the slot of the newest record again.
    void newRecord(LightSourceRecord const& record);
    // The records not stored; each call of the three above gives one record.
    LostRecords GetLostRecords() const;
    // Takes any index, modulo the capacity; a slot never written gives a record that is
    // not valid.
    LightSourceRecord getRecord(unsigned int recordIndex);
    // Writes the file's path, cut to size bytes including its final zero, and returns
    // the length of the whole path.
    int GetStorageDir(char* buffer, unsigned long size);
    // Renames the file to its path, a dash and the UTC time (YYYYMMDD-HHMMSS), and starts a
    // new one. An archive of the same second is replaced.
    // If the renaming fails, the same file is written again from slot 0.
    void Clear();
    // Removes everything in the directory LampStats of the data directory. Symbolic
    // links in it are removed, not followed. Paths over 4095 bytes are skipped; a directory
    // stays if the file system does not report its type and it is not empty.
    void clearSDCardLog();
    // Closes the file. Only Clear opens it again.
    void close();

    // Replies with the first index and the count held (4 bytes each); a full log starts
    // after the current slot. Give each reply a fresh buffer: what
    // an old one holds beyond the reply would stay.
    void GetLogRange(ByteBuf & reply);
    // Decodes a request (first and count, 4 bytes each, then 2 bytes of client; missing
    // bytes count as 0), without cutting it to what is held. Returns the count, or 0 for
    // a negative one.
    unsigned int SetupGetLogRecordsRange(Var const& request, unsigned int* first,
                                         unsigned short* client);
    // Replies with at most 1170 records, from *first on, and advances *first and *count;
    // call it until *count is 0.
    void GetLogRecords(unsigned int* first, unsigned int* count, unsigned short client,
                       ByteBuf& reply);

  private:
    unsigned int mCurrentIndex = 0;
    unsigned int mCount = 0;
    std::shared_ptr<LightSourceFile> mCurrentFile;  // empty only after an exception
    LostRecords mLost{};
};

}  // namespace ZEB
