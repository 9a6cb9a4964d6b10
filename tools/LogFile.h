#pragma once

#include <fcntl.h>
#include <sys/types.h>
#include <unistd.h>

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "Kinds.h"
#include "OpenSound.h"
#include "Status.h"
#include "files/SlotFileOps.h"

namespace ZEB::tool {

enum class Check { Sound, None };

// A file of a log as the log's own file class sees it, but opened for reading
// only: never made, never repaired. One that is not sound stays closed and looks
// empty, unless it is opened without a check.
template <class Kind>
class LogFile {
  public:
    using Record = typename Kind::Record;
    using Ops = SlotFileOps<LogFile>;
    static constexpr auto const& Cookie = Kind::File::Cookie;
    static constexpr std::uint16_t VersionData = Kind::File::VersionData;
    static constexpr std::uint16_t RecordSize = Kind::File::RecordSize;

    // Stands for a file that is missing.
    explicit LogFile(int index) : mFileIndex(index) {}

    LogFile(int index, std::string path, int slots, Check check = Check::Sound)
        : mFileIndex(index), mPath(std::move(path)), mSlots(slots) {
        char slot0[RecordSize];
        mFd = check == Check::Sound
                  ? openSound(mPath, Ops::header(static_cast<std::uint16_t>(slots)), slot0, mFault)
                  : openUnfit(mPath, RecordSize, slot0);
        if (mFd == -1) return;
        mFirstRecord.deserialize(SlotStream::ofThread().over(slot0, sizeof slot0));
        mValidRecordCount = mFirstRecord.isValid() ? 1 : 0;
    }
    ~LogFile() {
        if (mFd != -1) close(mFd);
    }
    LogFile(LogFile const&) = delete;
    LogFile& operator=(LogFile const&) = delete;

    int const mFileIndex;
    Record mFirstRecord;

    std::optional<Fault> const& fault() const { return mFault; }
    std::string const& path() const { return mPath; }
    int slots() const { return mSlots; }
    int validRecordCount() {
        scanUnlessKnown();
        return mValidRecordCount;
    }
    int recentRecordIndex() {
        scanUnlessKnown();
        return mRecentRecordIndex;
    }
    Record const& recentRecord() {
        scanUnlessKnown();
        return mRecentRecord;
    }
    bool isFull() { return mSlots > 0 && validRecordCount() == mSlots; }
    // Whether it holds a run of newer records before one of older ones.
    bool holdsSeam() { return isFull() && mRecentRecordIndex < mSlots - 1; }

    Record readRecord(int slot) { return Ops::read(*this, slot); }

    // Starts reading this file ahead while another one is in use.
    void announce() const {
        constexpr off_t Beginning = 1 << 20;  // the system reads ahead from there
        posix_fadvise(mFd, 0, Beginning, POSIX_FADV_WILLNEED);
    }

    // The bytes of count slots; ends the command when they can't be read.
    void readBytes(int slot, int count, char* bytes) const {
        std::size_t const size = static_cast<std::size_t>(count) * RecordSize;
        if (pread(mFd, bytes, size, slotOffset(slot, RecordSize)) != static_cast<ssize_t>(size)) {
            throw CantRead(mPath + ": slots from " + std::to_string(slot) + " on can't be read");
        }
    }

  private:
    friend struct SlotFileOps<LogFile>;
    struct Traits {
        using Record = typename Kind::Record;
        static char lock(LogFile&) { return 0; }
        static void keepOffset(LogFile&, std::int64_t) {}
    };

    // The search seeks about in the file, and most files are never asked.
    void scanUnlessKnown() {
        if (mRecentRecordIndex == -1) Ops::scan(*this, mSlots);
    }

    std::string mPath;
    int mSlots = 0;
    std::optional<Fault> mFault;
    int mFd = -1;
    int mValidRecordCount = 0;
    int mRecentRecordIndex = -1;
    Record mRecentRecord;
};

}  // namespace ZEB::tool
