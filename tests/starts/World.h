#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

#include "files/NewestSlot.h"
#include "logs/StartUpWalk.h"

// A small ring of files as plain values, and a log that writes to it and starts on it by
// the library's own rules.
namespace starts {

constexpr int MaxFiles = 12;
constexpr int MaxSlots = 3;
constexpr int Unreadable = -1;  // no number in the pointer
constexpr int Everywhere = -1;  // no file fails to open
constexpr std::int32_t Beginning = 100;

inline std::size_t index(int number) { return static_cast<std::size_t>(number); }

struct Shape {
    int files, slots;
    bool hasPointer;
    int capacity() const { return files * slots; }
};

struct Slot {
    int id = 0;  // in the order of writing; 0: never written
    std::int32_t time = 0;
    bool givenUp = false;
    bool isValid() const { return id != 0; }
};
inline std::int32_t recordKey(Slot const& slot) { return slot.time; }

struct File {
    bool exists = false;
    int modified = 0;
    std::array<Slot, MaxSlots> slots{};
};

struct Disk {
    std::array<File, MaxFiles> files{};
    int pointer = Unreadable;
    int pointerModified = 0;
};

// What decided where a start goes on.
enum Way {
    NewestSlot,
    Walk,
    Pointer,
    LastFile,
    NotOpened,
    CutMove,
    PointerBelieved,
    FilesBelieved
};
constexpr char const* WayNames[] = {"newest slot",      "walk",          "pointer",
                                    "last file",        "not opened",    "cut move",
                                    "pointer believed", "files believed"};

class World {
  public:
    Disk disk;
    std::int32_t clock = Beginning;
    bool clockStands = false;
    int failingPointerWrites = 0;
    std::int32_t nextTime = 0;     // a wrong one for the next record, if not 0
    char const* damage = nullptr;  // what must not happen, once it has
    Way way = Walk;                // of the start that is to blame for it

    explicit World(Shape const& shape) : mShape(shape) {}

    int next() const { return (mFirst + mCount) % mShape.capacity(); }
    int nextFile() const { return next() / mShape.slots; }
    bool moves() const { return nextFile() != mCurrent; }

    void writePointer(int file, bool moving) {
        if (failingPointerWrites > 0) {
            --failingPointerWrites;
            return;
        }
        disk.pointer = file;
        disk.pointerModified = moving ? clock : 0;
    }

    void move(int file, bool opens = true) {
        if (mShape.hasPointer) writePointer(file, true);
        make(file);
        mCurrent = file;
        mIsOpen = opens;
    }

    void append() {
        int const slot = next() % mShape.slots;
        if (moves()) move(nextFile());
        if (!clockStands) ++clock;
        if (mIsOpen) write(mCurrent, slot);
        nextTime = 0;
        ++(mCount < mShape.capacity() ? mCount : mFirst);
    }

    // How many of the last writes a power cut can take back: one file's worth.
    int unflushed() const { return mWriteCount; }
    void takeBack(int writes) {
        for (; writes > 0; --writes) {
            Write const& last = mWrites[index(--mWriteCount)];
            disk.files[index(last.file)] = last.before;
        }
    }

    void restore(Disk const& from, int file) {
        if (!from.files[index(file)].exists) return;
        disk.files[index(file)] = from.files[index(file)];
        disk.files[index(file)].modified = clock;
    }

    // The log starts again; the file with the number failing does not open. A backup replaces an
    // unreadable pointer.
    void start(int failing = Everywhere, Disk const* backup = nullptr) {
        mWriteCount = 0;
        if (mShape.hasPointer && disk.pointer == Unreadable && backup != nullptr) {
            for (int file = 0; file < mShape.files; ++file) restore(*backup, file);
            writePointer(backup->pointer, false);
        }
        auto const look = [&](int number) { return facts(number, failing); };
        bool const pointed = mShape.hasPointer && disk.pointer != Unreadable;
        int const begin = pointed ? disk.pointer : 0;
        make(begin);
        ZEB::Place place{look(begin), ZEB::Seam::NoNext};
        Way chosen = Walk;
        if (pointed) {
            NamedFacts const named{*this, begin, failing};
            ZEB::Ring const ring{mShape.files, mShape.slots};
            place = ZEB::placeByPointer(look(begin), ring, look, named);
            chosen = wayOf(place, look(begin), look(begin + 1), named.state());
        } else if (!place.file.isEmpty()) {
            place = ZEB::walk(place.file, mShape.files, look);
        }
        bool const rewrites = pointed ? place.file.index != begin : !place.file.isEmpty();
        if (mShape.hasPointer && rewrites) writePointer(place.file.index, false);
        goOnAt(place, chosen, failing);
    }

  private:
    struct Write {
        int file;
        File before;
    };

    void make(int file) {
        if (disk.files[index(file)].exists) return;
        remember(file);
        disk.files[index(file)] = {};
        disk.files[index(file)].exists = true;
        disk.files[index(file)].modified = clock;
    }

    void write(int file, int slot) {
        remember(file);
        Slot& target = disk.files[index(file)].slots[index(slot)];
        if (target.isValid() && !target.givenUp && isOlderElsewhere(target.id)) {
            damage = "a newer record is replaced";
        }
        target = {++mLastId, nextTime != 0 ? nextTime : clock, false};
        disk.files[index(file)].modified = clock;
    }

    void remember(int file) {
        if (mWriteCount == mShape.slots) {
            std::move(mWrites.begin() + 1, mWrites.begin() + mWriteCount, mWrites.begin());
            --mWriteCount;
        }
        mWrites[index(mWriteCount++)] = {file, disk.files[index(file)]};
    }

    template <class Visit>
    void forEachSlot(Visit visit) {
        for (int at = 0; at < mShape.capacity(); ++at) {
            visit(at, disk.files[index(at / mShape.slots)].slots[index(at % mShape.slots)]);
        }
    }

    bool isOlderElsewhere(int id) {
        bool found = false;
        forEachSlot([&](int, Slot const& slot) {
            found = found || (slot.isValid() && slot.id < id && !slot.givenUp);
        });
        return found;
    }

    ZEB::FileFacts facts(int number, int failing) const {
        if (number >= mShape.files || number == failing) return {number, 0};
        return {number, disk.files[index(number)].slots[0].time};
    }

    struct NamedFacts {
        World const& world;
        int number, failing;

        File const& file() const { return world.disk.files[index(number)]; }
        ZEB::NamedFile state() const {
            if (number == failing) return ZEB::NamedFile::NotOpened;
            bool const begun =
                file().slots[0].isValid() && file().modified >= world.disk.pointerModified;
            return begun ? ZEB::NamedFile::Begun : ZEB::NamedFile::NotBegun;
        }
        std::int32_t timeAt(int slot) const { return file().slots[index(slot)].time; }
    };

    Way wayOf(ZEB::Place const& place, ZEB::FileFacts const& named, ZEB::FileFacts const& next,
              ZEB::NamedFile state) const {
        if (named.index == mShape.files - 1) return LastFile;
        if (ZEB::seamBetween(named, next) != ZEB::Seam::NotOlder) return Pointer;
        if (state == ZEB::NamedFile::NotOpened) return NotOpened;
        if (place.file.index == named.index) return PointerBelieved;
        int const before = (named.index + mShape.files - 1) % mShape.files;
        return place.file.index == before ? CutMove : FilesBelieved;
    }

    void goOnAt(ZEB::Place const& place, Way chosen, int failing) {
        mCurrent = place.file.index;
        mIsOpen = mCurrent != failing;
        File& file = disk.files[index(mCurrent)];
        auto const slotAt = [&](int slot) { return file.slots[index(slot)]; };
        int const found = mIsOpen && slotAt(0).isValid()
                              ? ZEB::findNewestSlot(slotAt(0), mShape.slots, slotAt).slot
                              : -1;
        ZEB::HeldRange const held = ZEB::heldAt(place, found, {mShape.files, mShape.slots});
        mFirst = held.first;
        mCount = held.count;

        int newestAt = -1;
        int newest = 0;
        forEachSlot([&](int at, Slot const& slot) {
            if (slot.id > newest) newest = slot.id, newestAt = at;
        });
        bool const byRule = chosen == Walk || chosen == Pointer || chosen == LastFile;
        bool const inFile = newestAt >= 0 && newestAt / mShape.slots == mCurrent && mIsOpen;
        if (byRule && inFile && newestAt % mShape.slots != found) chosen = NewestSlot;
        if (next() != (newestAt + 1) % mShape.capacity()) way = chosen;
        int const behindFirst =
            (newestAt - mFirst % mShape.capacity() + mShape.capacity()) % mShape.capacity();
        if (newest != 0 && behindFirst >= mCount) {
            damage = "the newest record is not counted";
            way = chosen;
        }
        if (chosen == NotOpened || chosen == PointerBelieved) giveUpRest(file, newest);
    }

    // The named file's records of the round before may be given up.
    void giveUpRest(File& named, int newest) {
        for (Slot& slot : named.slots) slot.givenUp |= slot.id <= newest - mShape.slots;
    }

    Shape mShape;
    int mFirst = 0, mCount = 0, mCurrent = 0;
    bool mIsOpen = true;
    int mLastId = 0;
    std::array<Write, MaxSlots> mWrites{};
    int mWriteCount = 0;
};

}  // namespace starts
