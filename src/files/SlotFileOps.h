#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include "files/Handles.h"
#include "files/NewestSlot.h"
#include "files/SlotIo.h"
#include "files/SlotStream.h"
#include "util/DropCaches.h"
#include "util/VEKLog.h"

namespace ZEB {

template <class File>
struct SlotFileOps;

// What the traits of the two classes without a lock have in common.
template <class File>
struct UnlockedTraits {
    struct NoLock {};
    static NoLock lock(File&) { return {}; }
    static bool withoutLength(File& file, char const*) {
        int const error = errno;
        file.closeFd();
        return SlotFileOps<File>::notOpened(file, error);
    }
    static void transferred(File&, std::int64_t) {}
};

// What the three file classes have in common and what depends on their record.
// A class gives its differences in File::Traits:
//   Record             the record class
//   lock(file)         a guard to hold around each use of the descriptor
//   withoutLength(f,p) the opening's result when the end of the file at p can't be sought
//   transferred(f,end) a read or write ended at this offset
//   written(file)      a slot was written whole
template <class File>
struct SlotFileOps {
    using Traits = typename File::Traits;
    using Record = typename Traits::Record;

    static_assert(File::RecordSize <= MaxRecordSize);

    static FileHeader header() { return header(File::sRecordCount); }

    static FileHeader header(std::uint16_t slots) {
        FileHeader header{{}, File::VersionData, File::RecordSize, slots};
        std::memcpy(header.cookie, File::Cookie, sizeof header.cookie);
        return header;
    }

    // Opens the file at path and takes slot 0 over, or has it made anew.
    static bool openFile(File& file, char const* path, int flags) {
        if (closeDescriptor(file)) DropCaches();
        HeaderCheck check = HeaderCheck::Rejected;
        {
            [[maybe_unused]] auto const lock = Traits::lock(file);
            Descriptor fd(open(path, flags, 0600));
            if (fd.get() == -1) return notOpened(file, errno);
            char slot0[File::RecordSize];
            check = checkFile(fd.get(), header(), File::sFileSize, slot0);
            if (check == HeaderCheck::Accepted) takeOver(file, slot0);
            file.mFd = fd.release();  // only now, since a record may throw
            if (check == HeaderCheck::Accepted) return true;
        }
        return check == HeaderCheck::NoLength ? Traits::withoutLength(file, path)
                                              : file.cleanFile(path);
    }

    // Replaces the file at path by a new one from the class's FileCreator.
    static bool replaceFile(File& file, char const* path, char const* unlinkFailed) {
        if (closeDescriptor(file)) {
            DropCaches();
            if (unlink(path) != 0) {
                notOpened(file, errno);
                std::perror(unlinkFailed);
                return false;
            }
        }
        int error = 0;
        {
            [[maybe_unused]] auto const lock = Traits::lock(file);
            errno = 0;
            if (!File::mFileCreator->GetNewFile(path)) return notOpened(file, errno);
            Descriptor fd(open(path, O_RDWR, 0600));
            if (fd.get() == -1) return notOpened(file, errno);
            forgetRecords(file);
            file.mFd = fd.release();
            if (writeHeader(file.mFd, header())) {
                Traits::transferred(file, HeaderSize);
                return true;
            }
            error = errno;
        }
        file.closeFd();
        return notOpened(file, error);
    }

    static void openOrReport(File& file, char const* failed) {
        if (file.openFd()) return;
        errno = file.mOpenError;
        std::perror(failed);
        VEKLogMsg(1, "%s", failed);
    }

    // Keeps why, for the writes to come; a platform may not say (0).
    static bool notOpened(File& file, int error) {
        file.mOpenError = error != 0 ? error : EIO;
        return false;
    }

    static bool notWritten(int error) {
        errno = error;
        return false;
    }

    // True when a descriptor was open.
    static bool closeDescriptor(File& file) {
        [[maybe_unused]] auto const lock = Traits::lock(file);
        if (file.mFd == -1) return false;
        close(file.mFd);
        file.mFd = -1;
        file.mOpenError = EBADF;
        return true;
    }

    static void forgetRecords(File& file) {
        file.mValidRecordCount = 0;
        file.mRecentRecordIndex = -1;
        file.mFirstRecord = Record();
        file.mRecentRecord = Record();
    }

    static void scan(File& file) { scan(file, File::sRecordCount); }

    static void scan(File& file, int slots) {
        if (file.mValidRecordCount != 1) return;
        auto const read = [&](int slot) { return file.readRecord(slot); };
        NewestSlot<Record> const newest = findNewestSlot(file.mFirstRecord, slots, read);
        file.mValidRecordCount = newest.usedSlots;
        setNewest(file, newest.record, newest.slot);
    }

    static void scanUnlessKnown(File& file) {
        if (file.mRecentRecordIndex == -1) file.scanRecords();
    }

    static Record read(File& file, int slot) {
        if (slot == 0) return file.mFirstRecord;
        Record record;
        char bytes[File::RecordSize];
        if (readSlots(file, slot, bytes, sizeof bytes)) {
            record.deserialize(SlotStream::ofThread().over(bytes, sizeof bytes));
        }
        return record;
    }

    static std::vector<Record> readRun(File& file, int firstSlot, int count) {
        if (count < 0) throw std::bad_alloc();
        auto const number = static_cast<std::size_t>(count);
        std::vector<Record> records(number);
        std::size_t const size = number * File::RecordSize;
        std::unique_ptr<char[]> const bytes(new char[size]);
        if (readSlots(file, firstSlot, bytes.get(), size)) {
            SlotStream& in = SlotStream::ofThread();
            char* slot = bytes.get();
            for (Record& record : records) {
                record.deserialize(in.over(slot, File::RecordSize));
                slot += File::RecordSize;
            }
        }
        return records;
    }

    static bool add(File& file, Record const& record) {
        int const next = file.mRecentRecordIndex + 1;
        if (next >= File::sRecordCount) return notWritten(ERANGE);
        if (file.mRecentRecordIndex == -1) file.mFirstRecord = record;
        return store(file, record, next);
    }

    static bool write(File& file, Record const& record, int slot) {
        if (slot < 0 || slot >= File::sRecordCount) return notWritten(ERANGE);
        if (slot == 0) file.mFirstRecord = record;
        return store(file, record, slot);
    }

  private:
    static void takeOver(File& file, char (&slot0)[File::RecordSize]) {
        forgetRecords(file);
        file.mFirstRecord.deserialize(SlotStream::ofThread().over(slot0, sizeof slot0));
        file.mValidRecordCount = file.mFirstRecord.isValid() ? 1 : 0;
        Traits::transferred(file, slotOffset(1, File::RecordSize));
    }

    static void setNewest(File& file, Record const& record, int slot) {
        file.mRecentRecord = record;
        file.mRecentRecordIndex = slot;
    }

    static bool readSlots(File& file, int firstSlot, char* bytes, std::size_t size) {
        std::int64_t const offset = slotOffset(firstSlot, File::RecordSize);
        if (offset < 0) return false;
        [[maybe_unused]] auto const lock = Traits::lock(file);
        return transferred(file, offset, pread(file.mFd, bytes, size, offset), size);
    }

    static bool store(File& file, Record const& record, int slot) {
        setNewest(file, record, slot);
        if (file.mValidRecordCount != File::sRecordCount) file.mValidRecordCount = slot + 1;
        char bytes[File::RecordSize] = {};
        SlotStream& out = SlotStream::ofThread();
        file.mRecentRecord.serialize(out.over(bytes, sizeof bytes));
        int error = out.error();
        if (error == 0) error = writeSlot(file, slot, bytes);
        if (error != 0) return notWritten(error);
        Traits::written(file);
        return true;
    }

    // An errno, or 0.
    static int writeSlot(File& file, int slot, char const (&bytes)[File::RecordSize]) {
        std::int64_t const offset = slotOffset(slot, File::RecordSize);
        [[maybe_unused]] auto const lock = Traits::lock(file);
        ssize_t const moved = pwrite(file.mFd, bytes, sizeof bytes, offset);
        int const error = moved == -1 ? errno : EIO;
        if (transferred(file, offset, moved, sizeof bytes)) return 0;
        return file.mFd == -1 ? file.mOpenError : error;
    }

    static bool transferred(File& file, std::int64_t offset, ssize_t moved, std::size_t wanted) {
        Traits::transferred(file, moved > 0 ? offset + moved : offset);
        return moved == static_cast<ssize_t>(wanted);
    }
};

}  // namespace ZEB
