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
// moves on.
//
// Not full, the record in the current slot is not counted yet; after a restart
// newRecord writes that slot again.
//
// No lock: one thread at a time uses a log, and one log a file. Every slot write
// that succeeds ends with sync(), which flushes all the machine's file systems.
// The constructor and Clear throw std::logic_error when there is no way to open or
// make the file. After that Clear the log has no file: reads give default records,
// and each write, as well as Clear, tries to open it again and then starts at index 0.
class [[gnu::visibility("default")]] BasicLightSourceLog {
  public:
    BasicLightSourceLog();
    ~BasicLightSourceLog();
    BasicLightSourceLog(BasicLightSourceLog const&) = delete;
    BasicLightSourceLog& operator=(BasicLightSourceLog const&) = delete;

    static int getFileCount();    // 1
    static int getRecordCount();  // the capacity

    // Both write the current slot; false when that failed.
    bool writeRecord(LightSourceRecord const& record);
    bool editRecord(LightSourceRecord const& record);
    // Writes the current slot and moves on to the next, also when the write failed.
    void newRecord(LightSourceRecord const& record);
    // What it did not store; each call of the three hands in one record.
    LostRecords GetLostRecords() const;
    // Any index, modulo the capacity; a slot never written gives a record that is
    // not valid.
    LightSourceRecord getRecord(unsigned int recordIndex);
    // Writes the file's path, cut to size with its final zero, and returns the
    // length of the whole path.
    int GetStorageDir(char* buffer, unsigned long size);
    // Renames the file to its path, a dash and the time (UTC, to the second), and
    // starts a new one. An archive of the same second is replaced; a name over
    // 4095 bytes is cut. When the renaming fails, the file is used on from slot 0.
    void Clear();
    // Removes all that lies in the data directory's LampStats, never following a
    // symbolic link. Paths over 4095 bytes are skipped.
    void clearSDCardLog();
    // Closes the file. Only Clear opens one again.
    void close();

    // Replies with the first index and the count held (4 bytes each); a full log
    // starts behind the current slot. Give each reply a fresh buffer: what a
    // buffer holds already is not cut off.
    void GetLogRange(ByteBuf & reply);
    // Decodes a request (first and count, 4 bytes each, and 2 bytes of client, any
    // of it may be missing), not cut to what is held; returns the count, 0 for a
    // negative one.
    unsigned int SetupGetLogRecordsRange(Var const& request, unsigned int* first,
                                         unsigned short* client);
    // Replies with at most 1170 records from *first on and moves *first and *count
    // along; call it until *count is 0.
    void GetLogRecords(unsigned int* first, unsigned int* count, unsigned short client,
                       ByteBuf& reply);

  private:
    unsigned int mCurrentIndex = 0;
    unsigned int mCount = 0;
    std::shared_ptr<LightSourceFile> mCurrentFile;  // empty only after an exception
    LostRecords mLost{};
};

}  // namespace ZEB
