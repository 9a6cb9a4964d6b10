#pragma once

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <type_traits>

#include "BasicEventLog.h"
#include "BasicLightSourceLog.h"
#include "BasicMeasurementLog.h"
#include "Disk.h"
#include "files/SlotIo.h"
#include "msgclasses/ByteStream.h"
#include "util/FileCreator.h"

namespace ZEB {
// The file classes' friend: makes their files small, so that logs often go round.
struct SlotFileTestAccess {
    template <class File>
    static void makeSmall(std::uint16_t slots) {
        File::Init();
        File::sRecordCount = slots;
        File::sFileSize = static_cast<int>(HeaderSize) + slots * File::RecordSize;
        if constexpr (!std::is_same_v<File, LightSourceFile>) {
            File::sLargeStorage = false;
            *File::mFileCreator = FileCreator(".Nxt", File::sFileLocation, File::sFileSize);
        }
    }
};
}  // namespace ZEB

namespace rig {

inline void require(bool holds, char const* what, int size = 0, int place = 0) {
    if (holds) return;
    std::printf("FAILED: %s (records of %d bytes, %d)\n", what, size, place);
    std::fflush(stdout);
    std::abort();
}

// A directory of its own on the machine's disk becomes the logs' root.
inline std::string makeRoot(char const* at = nullptr) {
    char const* const temporary = std::getenv("TMPDIR");
    std::string root = (temporary != nullptr ? temporary : "/tmp") + std::string("/rig.XXXXXX");
    root = at != nullptr ? at : mkdtemp(&root[0]);
    for (char const* name : {"", "/data", "/settings"}) mkdir((root + name).c_str(), 0700);
    setenv("VEK_ROOT", root.c_str(), 1);
    return root;
}

struct Slot {
    char bytes[112];
    bool operator==(Slot const& other) const { return std::memcmp(bytes, other.bytes, 112) == 0; }
    bool operator!=(Slot const& other) const { return !(*this == other); }
    bool used() const { return bytes[14] != 0; }
};

// What a slot may hold. Either: the old or the new record, byte by byte.
enum Doubt { Sure, Either, Anything };

// What one log must hold.
struct Held {
    int first, count;
    bool holes;  // records are missing, or of a cut clear(): a restart may go on elsewhere
    Slot now[36], old[36];  // zero: never written
    Doubt doubt[36];
};

inline bool onMachine = false;   // the files are on the machine's disk
inline bool mustReport = false;  // a call that was made to fail
inline bool mustThrow = false;   // an allocation that was
inline int injected = 0;         // the errno of either

// A log together with its model; every operation does both and compares them.
template <class Log, class File, class Record, int Files, int Slots>
struct Part {
    static constexpr int Size = File::RecordSize;
    static constexpr int FileCount = Files;
    static constexpr int SlotCount = Slots;
    static constexpr int Capacity = Files * Slots;
    static constexpr int FileSize = static_cast<int>(ZEB::HeaderSize) + Slots * Size;
    static constexpr bool Events = std::is_same_v<File, ZEB::EventFile>;
    static constexpr bool Lamps = std::is_same_v<File, ZEB::LightSourceFile>;
    static constexpr bool Measured = std::is_same_v<File, ZEB::MeasurementFile>;

    Held& held;
    std::unique_ptr<Log> log;
    bool unsure = false;  // a call failed since the log was opened

    explicit Part(Held& model) : held(model) { ZEB::SlotFileTestAccess::makeSmall<File>(Slots); }

    // The measurement log's pointer comes after its last file.
    static std::string path(int file) {
        static std::string const root = std::getenv("VEK_ROOT");
        if (Lamps) return root + "/settings/lightsource_log.vek";
        if (Events) return root + "/data/event_log-1-2-7#" + std::to_string(file) + ".vek";
        if (file == Files) return root + "/data/currentMeasurementLog";
        return root + "/data/measurement_log" + std::to_string(file) + ".vek";
    }

    // What the caller of the log can do.

    void write(int id, bool advance) {
        revive();
        int const at = next();
        bool const placed = Lamps || long{held.first} + held.count >= 0;  // else only counted
        propose(at);
        Slot const record = placed ? slotOf(id) : held.old[at];
        held.now[at] = record;
        store(record, advance);
        if (advance) moveOn();
        check();
        requireCounted(at, record, placed);
    }

    void store(Slot const& slot, bool advance) {
        Record const record = recordIn(slot);
        mHanded = 0;
        mLostBefore = log ? log->GetLostRecords().count : 0;
        auto const store = [&] {
            if (!log) return;
            ++mHanded;
            if constexpr (!Lamps) log->writeRecord(record);
            if constexpr (Lamps) advance ? log->newRecord(record) : void(log->editRecord(record));
        };
        call(store, !Lamps);
    }

    void clear() {
        revive();
        for (int at = 0; at < Capacity; ++at) propose(at);
        std::fill_n(held.now, Capacity, Slot{});
        auto const clearLog = [&] {
            if (!log) return;
            if constexpr (Events) log->clear();
            if constexpr (!Events) log->Clear();
        };
        call(clearLog, !Lamps);
        held.first = held.count = 0;
        held.holes = unsure;
        check();
    }

    void query() {
        revive();
        std::string replies;
        auto const ask = [&] {
            replies = log ? fetchAll() : "";
            if constexpr (Events) log->IsCurrentFile(path(next() / Slots).c_str());
            // A damaged pointer can make it hold 2^31 records.
            if constexpr (Measured) {
                if (held.count > Capacity) return;
                log->SaveToFile((path(0) + ".txt").c_str(), newestTime(), 1 << 30);
            }
        };
        call(ask, false);
        require(unsure || replies == expectedReplies(), "a reply differs", Size);
        settle(!unsure);
    }

    void reopen() {
        close();
        unsure = false;
        start(true, true);
    }

    void open() {
        call([this] {
            static_cast<void>(log.release());  // as a power cut leaves it
            log = std::make_unique<Log>();
            if constexpr (!Lamps) log->SetEnabled(true);
        });
    }

    void close() {
        call([this] { log.reset(); });
    }

    // All is lost but the backup: opening has to fetch it.
    void restore() {
        if (Lamps) return;
        close();
        bool const pointed = std::rename(path(Files).c_str(), backup(Files).c_str()) == 0;
        if (Measured && !pointed) return reopen();
        std::fill_n(held.old, Capacity, Slot{});
        std::fill_n(held.doubt, Capacity, Either);
        for (int i = 0; i < Files; ++i) std::rename(path(i).c_str(), backup(i).c_str());
        sync();
        unsure = false;
        start(!held.holes, true);
        dropBackup();
    }

    void dropBackup() {
        for (int i = 0; i <= Files && !Lamps; ++i) std::remove(backup(i).c_str());
        sync();
    }

    // Another file of these bytes in its place; settle() then takes over what is sound.
    void spoil(int file, std::string const& bytes) {
        int const fd = ::open(path(file).c_str(), O_RDWR | O_CREAT | O_TRUNC);
        require(pwrite(fd, bytes.data(), bytes.size(), 0) != -1, "can't damage", Size);
        ::close(fd);
        std::fill_n(held.doubt, Capacity, Anything);
    }

    // Opens the log. returned: no operation was cut short; placeKnown: nor was anything
    // lost. Returns how many records that the model was sure of are gone.
    int start(bool returned, bool placeKnown) {
        int const before = next();
        auto const doubts = Capacity - std::count(held.doubt, held.doubt + Capacity, Sure);
        open();
        int const lost = settle(returned && !unsure);
        takeRange(held.first, held.count);
        held.holes |= !returned && doubts > 1;
        if (!unsure && placeKnown && !held.holes) requirePlace(before, returned);
        return lost;
    }

    // Compares the disk with the model, which then takes over what is there. Returns how
    // many records that the model was sure of are gone.
    int settle(bool returned) {
        int lost = 0;
        auto const disk = onDisk();
        bool const same = std::memcmp(disk.get(), held.now, Capacity * sizeof(Slot)) == 0;
        for (int at = 0; at < Capacity; ++at) {
            Slot const& found = disk[static_cast<unsigned>(at)];
            Doubt const doubt = returned && held.doubt[at] == Either ? Sure : held.doubt[at];
            if (!same && found != held.now[at]) {
                if (doubt != Either && held.now[at].used()) ++lost;
                requireAllowed(at, found, doubt);
            }
            held.now[at] = found;
            held.doubt[at] = Sure;
        }
        return lost;
    }

    // What lies in the files; zero where one is unfit.
    static std::unique_ptr<Slot[]> onDisk() {
        auto found = std::make_unique<Slot[]>(Capacity);
        ZEB::FileHeader expected{{}, File::VersionData, File::RecordSize, Slots};
        std::memcpy(expected.cookie, File::Cookie, sizeof expected.cookie);
        for (int file = 0; file < Files; ++file) {
            char bytes[FileSize];
            int const fd = ::open(path(file).c_str(), O_RDWR);
            bool const whole = pread(fd, bytes, sizeof bytes, 0) == sizeof bytes;
            if (fd != -1) ::close(fd);
            bytes[11] = '\0';  // not looked at
            if (!whole || std::memcmp(bytes, &expected, ZEB::HeaderSize) != 0) continue;
            for (int slot = 0; slot < Slots; ++slot) {
                std::copy_n(bytes + ZEB::HeaderSize + slot * Size, Size,
                            found[static_cast<unsigned>(file * Slots + slot)].bytes);
            }
        }
        return found;
    }

  private:
    static std::string backup(int file) {
        std::string const from = path(file);
        return (Events ? "/rig/backup/data" : "/mnt/sysdata/veklogs") +
               from.substr(from.rfind('/'));
    }

    int firstHeld() const { return Lamps ? 0 : held.first; }

    // The slot that the next record is written into.
    int next() const {
        auto const end = static_cast<int>((long{held.first} + held.count) % Capacity);
        if (!Lamps) return (end + Capacity) % Capacity;  // a damaged pointer can be negative
        return held.count < Capacity ? held.count : (held.first + Capacity - 1) % Capacity;
    }

    void moveOn() {
        bool const full = held.count >= Capacity;
        ++(full ? held.first : held.count);
        if (!Lamps) return;
        if (full) held.first %= Capacity;
        if (!full) held.first = held.count < Capacity ? 0 : 1;
    }

    static Slot slotOf(int id) {
        Slot slot = {};
        int const time = 65500 + (Lamps ? id : id / 2);  // some neighbours share theirs
        std::memset(slot.bytes, 'a' + id % 26, Size);
        std::memcpy(slot.bytes, &time, sizeof time);
        if (Lamps) std::memcpy(slot.bytes + 18, &time, sizeof time);
        clearClient(slot);
        return slot;
    }

    static void clearClient(Slot& slot) {
        std::memset(slot.bytes + (Events ? 18 : Measured ? 16 : 34), 0, 2);
    }

    static Record recordIn(Slot const& slot) {
        ZEB::ByteBuf bytes(slot.bytes, Size);
        ZEB::ByteStream stream(&bytes);
        Record record;
        record.deserialize(stream);
        return record;
    }

    void propose(int at) {
        held.old[at] = held.now[at];
        held.doubt[at] = Either;
    }

    void revive() {
        if (!log) start(true, false);
    }

    void check() {
        settle(!unsure);
        int first = held.first;
        int count = held.count;
        takeRange(first, count);
        require(first == held.first && count == held.count, "another first or count", Size, first);
    }

    // What was handed in is in its slot or counted as lost. A byte that the record shares
    // with the one before could hide that the write was cut.
    void requireCounted(int at, Slot const& wanted, bool placed) const {
        Slot const& old = held.old[at];
        if (!log || (placed && wanted.bytes[Size - 3] == old.bytes[Size - 3])) return;
        auto const [lost, error] = log->GetLostRecords();
        auto const stored = static_cast<unsigned>(placed && held.now[at] == wanted);
        require(stored + lost - mLostBefore == mHanded, "lost without being counted", Size, at);
        bool const missing = error == ENOENT;  // as when a restore fails
        require(lost == mLostBefore || missing || error == (placed ? injected : ERANGE),
                "lost for another reason", Size, error);
    }

    // Where a slot has not the record that the model has.
    void requireAllowed(int at, Slot const& found, Doubt doubt) const {
        require(doubt != Sure || (unsure && found == Slot{}), "a slot not written to changed", Size,
                at);
        for (int i = 0; i < Size && doubt == Either; ++i) {
            char const byte = found.bytes[i];
            require(byte == held.now[at].bytes[i] || byte == held.old[at].bytes[i],
                    "a slot holds neither the old nor the new record", Size, at);
        }
    }

    // The log goes on where it would have, or one slot later where a write was cut.
    void requirePlace(int before, bool returned) {
        int const end = next();
        int const moved = (before + (Lamps ? Capacity - 1 : 1)) % Capacity;
        // A move to the last file, cut short before its first record, is not noticed; that
        // file then holds the oldest records, and a later start may find it.
        bool const skipped = Measured && end == 0 && before == Capacity - Slots;
        held.holes |= skipped;
        bool const oneOn = end == moved && (Lamps || !returned);
        // A round within one tick of the disk's clock: a cut move's file looks begun.
        bool const givenUp =
            Measured && onMachine && before % Slots == 0 && end == (before + Slots) % Capacity;
        require(end == before || oneOn || skipped || givenUp, "the log goes on elsewhere", Size,
                end * 100 + before);
        int const file = (end + Capacity - 1) % Capacity / Slots;
        bool const wrapped = file + 1 < Files && held.now[(file + 1) * Slots].used();
        int const count = wrapped || (end == 0 && held.count != 0) ? Capacity : end;
        require(Lamps || held.count == count, "the log counts other records", Size, end);
    }

    int wantedCount() const { return std::clamp(held.count, 0, Capacity); }

    std::string expectedReplies() const {
        std::string expected;
        for (int i = 0; i < wantedCount(); ++i) {
            Slot slot = held.now[(firstHeld() + i) % Capacity];
            clearClient(slot);
            expected.append(slot.bytes, Size);
        }
        return expected;
    }

    std::string fetchAll() {
        std::string replies;
        auto first = static_cast<unsigned>(firstHeld());
        auto count = static_cast<unsigned>(wantedCount());
        while (count > 0) {
            ZEB::ByteBuf reply;
            log->GetLogRecords(&first, &count, 0, reply);
            replies.append(reply.data() + 8, reply.size() - 8);
        }
        return replies;
    }

    int newestTime() const {
        int time = 0;
        std::memcpy(&time, held.now[(next() + Capacity - 1) % Capacity].bytes, sizeof time);
        return time;
    }

    void takeRange(int& first, int& count) {
        if (!log) return;
        ZEB::ByteBuf reply;
        log->GetLogRange(reply);
        std::memcpy(&first, reply.data(), 4);
        std::memcpy(&count, reply.data() + 4, 4);
    }

    // Runs the code under test, again where an allocation was made to fail.
    template <typename Function>
    void call(Function function, bool reports = true) {
        off_t const told = lseek(STDERR_FILENO, 0, SEEK_CUR);
        bool threw = false;
        mustReport = false;
        for (bool done = false; !done; watching = false) {
            try {
                watching = true;
                function();
                done = true;
            } catch (std::bad_alloc const&) {
                onAllocation = nullptr;
                mustThrow = false;
            } catch (std::logic_error const&) {
                require(unsure, "an exception without a cause", Size);
                done = threw = true;
            }
        }
        require(!mustThrow, "a failed allocation was swallowed", Size);
        bool const silent = !threw && lseek(STDERR_FILENO, 0, SEEK_CUR) == told;
        require(!mustReport || !reports || !silent, "a failure was not reported", Size);
    }

    std::uint64_t mHanded = 0;      // records, in the last store()
    std::uint64_t mLostBefore = 0;  // records, before it
};

// The three logs, and a random life for them.
struct State {
    Held held[3];
    int id;
    unsigned random;
};

struct Rig {
    State& state;
    int const silenced = dup2(memfd_create("stderr", 0), STDERR_FILENO);
    Part<ZEB::BasicEventLog, ZEB::EventFile, ZEB::EventMsg, 9, 4> events{state.held[0]};
    Part<ZEB::BasicMeasurementLog, ZEB::MeasurementFile, ZEB::MeasurementRecord, 5, 5> measured{
        state.held[1]};
    Part<ZEB::BasicLightSourceLog, ZEB::LightSourceFile, ZEB::LightSourceRecord, 1, 7> lamps{
        state.held[2]};

    template <typename Function>
    void each(Function function) {
        function(events);
        function(measured);
        function(lamps);
    }

    // Without lamps only a move of the measurement log flushes anything.
    void step(bool withLamps, bool withRestore) {
        state.random = state.random * 1664525 + 1013904223;
        unsigned const number = state.random >> 8;
        unsigned const what = number / 8 % 100;
        unsigned const which = number % (withLamps ? 3 : 2);
        if (which == 0) act(events, what, withRestore);
        if (which == 1) act(measured, what, withRestore);
        if (which == 2) act(lamps, what, withRestore);
    }

  private:
    template <class Part>
    void act(Part& part, unsigned what, bool withRestore) {
        if (what < 80) return part.write(++state.id, !part.Lamps || what < 60);
        if (what < 88) return part.reopen();
        if (what < 94) return part.query();
        if (what < 97) return part.clear();
        if (withRestore) part.restore();
    }
};

}  // namespace rig
