#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <string>
#include <utility>

#include "BasicEventLog.h"
#include "BasicMeasurementLog.h"
#include "LightSourceFile.h"
#include "files/SlotIo.h"
#include "msgclasses/ByteStream.h"

namespace bench {

// The logs, as far as the rows' templates tell them apart.
struct Events {
    using Log = ZEB::BasicEventLog;
    using File = ZEB::EventFile;
    static std::string path(int file);
    static ZEB::EventMsg record(std::int32_t time);
    static void read(Log& log, int index);
};
struct Measurements {
    using Log = ZEB::BasicMeasurementLog;
    using File = ZEB::MeasurementFile;
    static std::string path(int file);
    static ZEB::MeasurementRecord record(std::int32_t time);
    static void read(Log& log, int index);
};
struct Lamps {
    using File = ZEB::LightSourceFile;
};

constexpr int Slots = 65000;  // of an event or measurement file

// Makes root the instrument's root directory, with empty directories below.
void useRoot(std::string const& root);
std::string dataPath(std::string const& name);
void emptyData();
std::string pointerPath();
void setPointer(int file);

[[noreturn]] void fail(char const* what);
// Ends the run when a call of a baseline fails: a failing call is a cheap one.
inline void require(bool done, char const* what) {
    if (!done) fail(what);
}

// A descriptor that closes itself.
class Fd {
  public:
    explicit Fd(int fd) : mFd(fd) {}
    Fd(Fd&& other) noexcept : mFd(std::exchange(other.mFd, -1)) {}
    Fd& operator=(Fd&& other) noexcept {
        std::swap(mFd, other.mFd);
        return *this;
    }
    Fd(Fd const&) = delete;
    Fd& operator=(Fd const&) = delete;
    ~Fd() {
        if (mFd != -1) close(mFd);
    }
    operator int() const { return mFd; }

  private:
    int mFd;
};

Fd openFile(std::string const& path, int flags = O_RDWR);
inline void writeAt(int fd, void const* bytes, std::size_t size, std::int64_t offset) {
    require(pwrite(fd, bytes, size, offset) == static_cast<ssize_t>(size), "pwrite");
}
inline void readAt(int fd, void* bytes, std::size_t size, std::int64_t offset) {
    require(pread(fd, bytes, size, offset) == static_cast<ssize_t>(size), "pread");
}
// A new file as the platform makes one.
Fd makeAllocated(std::string const& path, std::int64_t size);

template <class Kind>
std::int64_t slotAt(int slot) {
    return static_cast<std::int64_t>(ZEB::HeaderSize) + std::int64_t{slot} * Kind::File::RecordSize;
}

template <class Kind>
void readSlot(int fd, int slot) {
    char bytes[Kind::File::RecordSize];
    readAt(fd, bytes, sizeof bytes, slotAt<Kind>(slot));
}

template <class Kind>
void writeSlot(int fd, int slot) {
    static char const bytes[Kind::File::RecordSize] = {1};
    writeAt(fd, bytes, sizeof bytes, slotAt<Kind>(slot));
}

// The calls that opening a sound file takes: stat (twice where a log asks
// before it opens), open, length, header together with slot 0.
template <class Kind>
Fd openSound(std::string const& path, int stats) {
    struct stat status {};
    for (int i = 0; i < stats; ++i) require(stat(path.c_str(), &status) == 0, "stat");
    Fd fd = openFile(path);
    require(lseek(fd, 0, SEEK_END) == slotAt<Kind>(Slots), "lseek");
    char bytes[ZEB::HeaderSize + Kind::File::RecordSize];
    readAt(fd, bytes, sizeof bytes, 0);
    return fd;
}

template <class Kind>
ZEB::FileHeader headerOf() {
    ZEB::FileHeader header{{}, Kind::File::VersionData, Kind::File::RecordSize, Slots};
    std::copy(Kind::File::Cookie, Kind::File::Cookie + sizeof header.cookie, header.cookie);
    return header;
}

// A sparse file of full length without records.
template <class Kind>
Fd makeSparse(int file) {
    Fd fd = openFile(Kind::path(file), O_RDWR | O_CREAT);
    ZEB::FileHeader const header = headerOf<Kind>();
    writeAt(fd, &header, sizeof header, 0);
    require(ftruncate(fd, slotAt<Kind>(Slots)) == 0, "ftruncate");
    return fd;
}

template <class Kind>
void putRecord(int fd, int slot, std::int32_t time) {
    ZEB::ByteBuf bytes;
    ZEB::ByteStream out(&bytes);
    out << Kind::record(time);
    writeAt(fd, bytes.data(), Kind::File::RecordSize, slotAt<Kind>(slot));
}

// Full to everything that looks for the newest record: first and last slot used.
template <class Kind>
void makeFull(int file, std::int32_t firstTime) {
    Fd const fd = makeSparse<Kind>(file);
    putRecord<Kind>(fd, 0, firstTime);
    putRecord<Kind>(fd, Slots - 1, firstTime + Slots - 1);
}

}  // namespace bench
