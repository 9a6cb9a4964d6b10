#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <string>

#include "EventFile.h"
#include "MeasurementFile.h"
#include "files/SlotIo.h"
#include "msgclasses/ByteStream.h"

namespace bench {

constexpr int Slots = 65000;  // of an event or measurement file

// Makes root the instrument's root directory, with empty directories below.
void useRoot(std::string const& root);
std::string dataPath(std::string const& name);
std::string path(ZEB::EventFile const*, int file);
std::string path(ZEB::MeasurementFile const*, int file);
void emptyData();

inline ZEB::EventMsg recordAt(ZEB::EventFile const*, std::int32_t time) {
    return {ZEB::TimeStamp(time, 1, 2), 7, 1, "lamp warmed up"};
}
inline ZEB::MeasurementRecord recordAt(ZEB::MeasurementFile const*, std::int32_t time) {
    ZEB::MeasurementRecord record(ZEB::TimeStamp(time, 1, 2), 3, 1);
    record.setValue(0, ZEB::MeasurementRecord::ValueKind::Absorbance, 0.25);
    record.setValue(1, ZEB::MeasurementRecord::ValueKind::Temperature, 293.15);
    return record;
}

// A descriptor that closes itself.
class Fd {
  public:
    explicit Fd(int fd = -1) : mFd(fd) {}
    Fd(Fd&& other) noexcept : mFd(other.mFd) { other.mFd = -1; }
    Fd& operator=(Fd&& other) noexcept {
        std::swap(mFd, other.mFd);
        return *this;
    }
    ~Fd() {
        if (mFd != -1) close(mFd);
    }
    operator int() const { return mFd; }

  private:
    int mFd;
};

// Ends the run when a call of a baseline fails: a failing call is a cheap one.
void require(bool done, char const* what);

template <class File>
std::int64_t slotAt(int slot) {
    return static_cast<std::int64_t>(ZEB::HeaderSize) + std::int64_t{slot} * File::RecordSize;
}

template <class File>
ZEB::FileHeader headerOf() {
    ZEB::FileHeader header{{}, File::VersionData, File::RecordSize, Slots};
    std::copy(File::Cookie, File::Cookie + sizeof header.cookie, header.cookie);
    return header;
}

template <class Record>
void put(int fd, std::int64_t offset, Record const& record, std::size_t size) {
    ZEB::ByteBuf bytes;
    ZEB::ByteStream out(&bytes);
    out << record;
    require(pwrite(fd, bytes.data(), size, offset) == static_cast<ssize_t>(size), "pwrite");
}

// A sparse file of full length without records.
template <class File>
Fd makeSparse(int file) {
    Fd fd(open(path(static_cast<File*>(nullptr), file).c_str(), O_RDWR | O_CREAT, 0600));
    ZEB::FileHeader const header = headerOf<File>();
    require(pwrite(fd, &header, sizeof header, 0) == sizeof header, "header");
    require(ftruncate(fd, slotAt<File>(Slots)) == 0, "ftruncate");
    return fd;
}

template <class File>
void putAt(int fd, int slot, std::int32_t time) {
    put(fd, slotAt<File>(slot), recordAt(static_cast<File*>(nullptr), time), File::RecordSize);
}

// Full to everything that looks for the newest record: first and last slot used.
template <class File>
void makeFull(int file, std::int32_t firstTime) {
    Fd const fd = makeSparse<File>(file);
    putAt<File>(fd, 0, firstTime);
    putAt<File>(fd, Slots - 1, firstTime + Slots - 1);
}

// A new file as the platform makes one.
Fd makeAllocated(std::string const& path, std::int64_t size);

// The calls that opening a sound file takes: stat (once more where a log asks
// before it opens), open, length, header together with slot 0.
template <class File>
Fd openBare(char const* path, int stats) {
    struct stat status {};
    for (int i = 0; i < stats; ++i) require(stat(path, &status) == 0, "stat");
    Fd fd(open(path, O_RDWR, 0600));
    char bytes[ZEB::HeaderSize + File::RecordSize];
    require(lseek(fd, 0, SEEK_END) == slotAt<File>(Slots), "lseek");
    require(pread(fd, bytes, sizeof bytes, 0) == sizeof bytes, "pread");
    return fd;
}

template <class File>
void readSlotBare(int fd, int slot) {
    char bytes[File::RecordSize];
    require(pread(fd, bytes, sizeof bytes, slotAt<File>(slot)) == sizeof bytes, "pread");
}

// The calls of a move to a new file, between the old one's last record and the
// new one's first.
template <class File>
Fd moveBare(std::string const& hidden, std::string const& path) {
    { Fd const made = makeAllocated(hidden, slotAt<File>(Slots)); }
    require(rename(hidden.c_str(), path.c_str()) == 0, "rename");
    Fd fd(open(path.c_str(), O_RDWR, 0600));
    ZEB::FileHeader const header = headerOf<File>();
    bool const written =
        pwrite(fd, header.cookie, 12, 0) == 12 && pwrite(fd, &header.version, 2, 12) == 2 &&
        pwrite(fd, &header.recordSize, 2, 14) == 2 && pwrite(fd, &header.recordCount, 2, 16) == 2;
    require(written, "header");
    return fd;
}

}  // namespace bench
