#pragma once

#include <memory>
#include <string>
#include <utility>

#include "Place.h"

namespace ZEB::tool {

// Polls the slot after the last record seen. A slot there that was unused
// before holds a new record whatever its time; in a ring's second round the old
// record there is told from a new one by its key alone.
template <class Kind>
class Follower {
    using Record = typename Kind::Record;

  public:
    Follower(Log<Kind> const& log, Place<Kind> const& place) : mLog(log) {
        if (!place.current) return;
        mFile = place.current->mFileIndex;
        mSlot = place.newestSlot();
        mLast = place.current->recentRecord();
    }

    template <class Visit>
    void visitNew(Visit const& visit) {
        lookAtLast(visit);
        for (;;) {
            bool const nextFile = mSlot + 1 >= mLog.ring.slotsPerFile;
            int const file = nextFile ? (mFile + 1) % mLog.ring.files : mFile;
            int const slot = nextFile ? 0 : mSlot + 1;
            Record const record = readAt(file, slot);
            bool const isNew =
                record.isValid() && (mSeenUnused || recordKey(record) >= recordKey(mLast));
            if (!isNew) {
                mSeenUnused = !record.isValid();
                return;
            }
            if (nextFile) mSeenUnused = false;
            mFile = file;
            mSlot = slot;
            mLast = record;
            visit(mLog, file, slot, record);
        }
    }

  private:
    Record readAt(int index, int slot) {
        if (!mOpen || mOpen->mFileIndex != index) openAgain(index);
        // Slot 0 is answered from what was read when the file was opened.
        if (!mOpen->fault() && slot == 0) openAgain(index);
        if (!mOpen->fault()) return mOpen->readRecord(slot);
        mOpen.reset();
        return {};
    }

    void openAgain(int index) {
        mOpen =
            std::make_unique<LogFile<Kind>>(index, mLog.filePath(index), mLog.ring.slotsPerFile);
    }

    // The last record's file may have been removed, moved away or replaced; a restart
    // of the lamp log writes the slot again, with a new key.
    template <class Visit>
    void lookAtLast(Visit const& visit) {
        if (mSlot < 0) return;
        mOpen.reset();
        Record const last = readAt(mFile, mSlot);
        if (!last.isValid()) {
            mFile = 0;
            mSlot = -1;
            mSeenUnused = true;
        } else if (recordKey(last) != recordKey(mLast)) {
            mLast = last;
            visit(mLog, mFile, mSlot, last);
        }
    }

    Log<Kind> const& mLog;
    std::unique_ptr<LogFile<Kind>> mOpen;
    int mFile = 0;
    int mSlot = -1;
    Record mLast;
    bool mSeenUnused = false;
};

}  // namespace ZEB::tool
