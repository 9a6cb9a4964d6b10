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
// starts again at file 0 when it is full; each new event then replaces the oldest.
// Events have record indices: at most getRecordCount() consecutive ones are held,
// and a restart numbers them again. docs/reliability.md says what a crash leaves.
//
// No lock: only one thread at a time may use a log. Nothing throws but std::bad_alloc and
// what a record's methods throw; the log can be used after it. A record whose write failed is
// counted all the same, without a report: ask GetLostRecords(). A file that can't be opened when
// the log moves to it stays closed until the next move.
class [[gnu::visibility("default")]] BasicEventLog {
  public:
    // Finds the newest record by the first record of each file; never looks past a
    // missing or empty one. Opens every file up to and including the one after the
    // current file. Writing is off at first.
    BasicEventLog();
    ~BasicEventLog();
    BasicEventLog(BasicEventLog const&) = delete;
    BasicEventLog& operator=(BasicEventLog const&) = delete;

    static int getFileCount();    // 200 or 9; 9 before the first event file
    static int getRecordCount();  // the capacity; 12564 before the first event file

    void SetEnabled(bool enabled);
    // Appends one event with one write of 62 bytes, not flushed; at the end of a file it
    // moves to the next one first. While writing is off or !EventFile::isUsable() the
    // event is dropped.
    void writeRecord(EventMsg const& record);
    // The records given while writing was on and not stored.
    LostRecords GetLostRecords() const;
    // Takes any index, modulo the capacity; a slot never written gives a record that is
    // not valid. Opens, and may make, the file unless it is the current one.
    void GetRecord(EventMsg * record, unsigned long recordIndex);
    // Removes the log's files named with version 1.2.7 and starts again at file 0, with no
    // events. But if the backup has a file 0, all of its files come back; the log does not
    // count their events, but the next start does. Paths over 99 characters are cut, and what is
    // at the cut path is removed.
    void clear();
    // EventFile::IsCurrentFile of the current file.
    std::int64_t IsCurrentFile(char const* path);

    // Replies with the first index and the count held (4 bytes each). Give each reply a
    // fresh buffer: what an old one holds beyond the reply would stay.
    void GetLogRange(ByteBuf & reply);
    // Decodes a request (first and count, 4 bytes each, then 2 bytes of client; missing
    // bytes count as 0). A first index before the oldest event becomes the oldest one's, with
    // the same count; nothing follows the newest. Returns the count.
    unsigned int SetupGetLogRecordsRange(Var const& request, unsigned int* first,
                                         unsigned short* client);
    // Replies with at most 716 records of one file, from *first on, and advances *first
    // and *count; call it until *count is 0.
    void GetLogRecords(unsigned int* first, unsigned int* count, unsigned short client,
                       ByteBuf& reply);

  private:
    bool isCurrent(int fileIndex) const;
    std::shared_ptr<EventFile> fileFor(int fileIndex) const;

    int mFirst = 0;  // not reduced modulo the capacity before it comes near 2^31
    int mCount = 0;
    std::shared_ptr<EventFile> mCurrentFile;  // empty only after an exception
    bool mEnabled = false;
    LostRecords mLost{};
};

}  // namespace ZEB
