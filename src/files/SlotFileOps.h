#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
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

// Traits of the two classes without a lock.
template <class File>
struct UnlockedTraits {
    static constexpr bool NoLengthIsTooShort = false;
    struct NoLock {};
    static NoLock lock(File&) { return {}; }
    static void keepOffset(File&, std::int64_t) {}
};

// What the three file classes share and what has to know their record class.
// A class gives its differences in File::Traits:
//   Record               the record class
//   lock(file)           a guard to hold around each use of the descriptor
//   findOrRestore(file)  whether to open a file; if not, one is made
//   NoLengthIsTooShort   where seeking a file's end fails, it is made again; else opening fails
//   RebuildsInPlace      a file is made by rewriting it; else its FileCreator makes a new one
//   UnlinkFailed         reported when an open object's old file can't be removed first
//   keepOffset(file, at) a read or write ended at this offset
//   written()            a slot or a new file was written whole
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

    static void openOrReport(File& file, char const* failed) {
        if (file.openFd()) return;
        errno = file.mOpenError;
        std::perror(failed);
        VEKLogMsg(1, "%s", failed);
    }

    // Opens the file at path. A missing one is made, an unsound one is made again.
    static bool openOrMake(File& file, char const* path) {
        if (!Traits::findOrRestore(file)) return make(file, path);
        closeIfOpen(file);
        // Where files are rebuilt in place, a missing one opens as one that is too short.
        constexpr int Flags = Traits::RebuildsInPlace ? O_RDWR | O_CREAT : O_RDWR;
        HeaderCheck check = HeaderCheck::Rejected;
        {
            [[maybe_unused]] auto const lock = Traits::lock(file);
            Descriptor fd(open(path, Flags, 0600));
            if (fd.get() == -1) return notOpened(file, errno);
            char slot0[File::RecordSize];
            check = checkFile(fd.get(), header(), File::sFileSize, slot0);
            if (check == HeaderCheck::Accepted) keepSlot0(file, slot0);
            file.mFd = fd.release();  // only now, since a record may throw
        }
        if (check == HeaderCheck::Accepted) return true;
        if (check == HeaderCheck::Rejected || Traits::NoLengthIsTooShort) return make(file, path);
        return closeAndFail(file, errno);
    }

    // Puts a new empty file at path and keeps it open.
    static bool make(File& file, char const* path) {
        if (!removeOld(file, path)) return false;
        int error = 0;
        {
            [[maybe_unused]] auto const lock = Traits::lock(file);
            Descriptor fd(create(path));
            if (fd.get() == -1) return notOpened(file, errno);
            forgetRecords(file);
            file.mFd = fd.release();
            if (writeHeader(file.mFd, header()) && extend(file.mFd)) {
                Traits::keepOffset(file, HeaderSize);
                Traits::written();
                return true;
            }
            error = errno;
        }
        return closeAndFail(file, error);
    }

    // Keeps the reason for the writes to come; it is 0 where the platform gave none.
    static bool notOpened(File& file, int error) {
        file.mOpenError = error != 0 ? error : EIO;
        return false;
    }

    static bool notWritten(int error) {
        errno = error;
        return false;
    }

    // True when a descriptor was open.
    static bool closeIfOpen(File& file) {
        {
            [[maybe_unused]] auto const lock = Traits::lock(file);
            if (file.mFd == -1) return false;
            close(file.mFd);
            file.mFd = -1;
            file.mOpenError = EBADF;
        }
        DropCaches();
        return true;
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
        std::vector<Record> records;
        records.reserve(number);
        std::size_t const size = number * File::RecordSize;
        std::unique_ptr<char[]> const bytes(new char[size]);
        bool const whole = readSlots(file, firstSlot, bytes.get(), size);
        SlotStream& in = SlotStream::ofThread();
        for (char* slot = bytes.get(); slot != bytes.get() + size; slot += File::RecordSize) {
            Record& record = records.emplace_back();
            if (whole) record.deserialize(in.over(slot, File::RecordSize));
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
    static bool closeAndFail(File& file, int error) {
        file.closeFd();
        return notOpened(file, error);
    }

    static bool removeOld(File& file, char const* path) {
        if constexpr (Traits::RebuildsInPlace) {
            file.closeFd();
        } else if (closeIfOpen(file) && unlink(path) != 0) {
            notOpened(file, errno);
            std::perror(Traits::UnlinkFailed);
            return false;
        }
        return true;
    }

    // A descriptor of the new file; -1 sets errno, unless a platform gives no reason.
    static int create(char const* path) {
        if constexpr (Traits::RebuildsInPlace) {
            return open(path, O_RDWR | O_CREAT | O_TRUNC, 0600);
        } else {
            errno = 0;
            return File::mFileCreator->GetNewFile(path) ? open(path, O_RDWR, 0600) : -1;
        }
    }

    // Gives a new file its full size; one from a FileCreator has it.
    static bool extend(int fd) {
        if constexpr (Traits::RebuildsInPlace) return writeWhole(fd, "", 1, File::sFileSize - 1);
        return true;
    }

    static void forgetRecords(File& file) {
        file.mValidRecordCount = 0;
        file.mRecentRecordIndex = -1;
        file.mFirstRecord = Record();
        file.mRecentRecord = Record();
    }

    static void keepSlot0(File& file, char (&slot0)[File::RecordSize]) {
        forgetRecords(file);
        file.mFirstRecord.deserialize(SlotStream::ofThread().over(slot0, sizeof slot0));
        file.mValidRecordCount = file.mFirstRecord.isValid() ? 1 : 0;
        Traits::keepOffset(file, slotOffset(1, File::RecordSize));
    }

    static void setNewest(File& file, Record const& record, int slot) {
        file.mRecentRecord = record;
        file.mRecentRecordIndex = slot;
    }

    static bool readSlots(File& file, int firstSlot, char* bytes, std::size_t size) {
        std::int64_t const offset = slotOffset(firstSlot, File::RecordSize);
        if (offset < 0) return false;
        [[maybe_unused]] auto const lock = Traits::lock(file);
        ssize_t const moved = pread(file.mFd, bytes, size, offset);
        Traits::keepOffset(file, endOf(offset, moved));
        return moved == static_cast<ssize_t>(size);
    }

    static std::int64_t endOf(std::int64_t offset, ssize_t moved) {
        return moved > 0 ? offset + moved : offset;
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
        Traits::written();
        return true;
    }

    // An errno, or 0.
    static int writeSlot(File& file, int slot, char const (&bytes)[File::RecordSize]) {
        std::int64_t const offset = slotOffset(slot, File::RecordSize);
        [[maybe_unused]] auto const lock = Traits::lock(file);
        ssize_t const moved = pwrite(file.mFd, bytes, sizeof bytes, offset);
        Traits::keepOffset(file, endOf(offset, moved));
        if (moved == static_cast<ssize_t>(sizeof bytes)) return 0;
        if (file.mFd == -1) return file.mOpenError;
        return moved == -1 ? errno : EIO;
    }
};

}  // namespace ZEB
