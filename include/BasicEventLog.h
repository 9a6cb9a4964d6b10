#pragma once

#include <cstdint>
#include <memory>

#include "EventFile.h"
#include "LostRecords.h"
#include "msgclasses/ByteBuf.h"
#include "msgclasses/EventMsg.h"
#include "msgclasses/Var.h"

namespace ZEB {

// The event log: a ring of event files (200, or 9 of at most 2000 records) that
// starts again at file 0 when it is full, each new event then replacing the
// oldest. Events are addressed by record index: getRecordCount() consecutive ones
// are held at most, and a restart numbers them anew.
//
// No lock: one thread at a time uses a log. Nothing throws but std::bad_alloc;
// after one the log works on. A record whose write failed is counted all the
// same, without a report: ask GetLostRecords(). A file that can't be opened when the log
// moves to it stays closed until the next move.
class [[gnu::visibility("default")]] BasicEventLog {
  public:
    // Finds the newest record from the first record of each file; never looks
    // past a missing or empty one. Opens each file up to the one behind the one being
    // written. Writing is off at first.
    BasicEventLog();
    ~BasicEventLog();
    BasicEventLog(BasicEventLog const&) = delete;
    BasicEventLog& operator=(BasicEventLog const&) = delete;

    // 200, and 200 full files, or 9 of them; 9 and 12564 before the first event file.
    static int getFileCount();
    static int getRecordCount();  // the capacity

    void SetEnabled(bool enabled);
    // Appends one event: one write of 62 bytes, not flushed; a new file first,
    // where one begins. Drops it while writing is off or !EventFile::isUsable().
    void writeRecord(EventMsg const& record);
    // What it did not store of the records handed in while writing was on.
    LostRecords GetLostRecords() const;
    // Any index, modulo the capacity; a slot never written gives a record that is
    // not valid. Opens, and may make, the file when it is not the current one.
    void GetRecord(EventMsg * record, unsigned long recordIndex);
    // Removes every file named with the version 1.2.7 and starts again at file 0,
    // which the backup may bring back. Paths over 99 characters are cut to that, and
    // what stands there is removed.
    void clear();
    // Flushes the current file and returns the offset where its last read or write
    // ended if path is that file's, else 0.
    std::int64_t IsCurrentFile(char const* path);

    // Replies with the first index and the count held (4 bytes each). Give each
    // reply a fresh buffer: what a buffer holds already is not cut off.
    void GetLogRange(ByteBuf & reply);
    // Decodes a request (first and count, 4 bytes each, and 2 bytes of client,
    // any of it may be missing) and cuts it to what is held; returns the count.
    unsigned int SetupGetLogRecordsRange(Var const& request, unsigned int* first,
                                         unsigned short* client);
    // Replies with at most 716 records of one file from *first on and moves *first
    // and *count along; call it until *count is 0.
    void GetLogRecords(unsigned int* first, unsigned int* count, unsigned short client,
                       ByteBuf& reply);

  private:
    bool isCurrent(int fileIndex) const;
    std::shared_ptr<EventFile> fileFor(int fileIndex) const;

    int mFirst = 0;  // never reduced modulo the capacity, until 2^31 comes near
    int mCount = 0;
    std::shared_ptr<EventFile> mCurrentFile;  // empty only after an exception
    bool mEnabled = false;
    LostRecords mLost{};
};

}  // namespace ZEB
