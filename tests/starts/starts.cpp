#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "World.h"

// starts FAULTS TABLE: tries every history of three rounds of a small ring with up to FAULTS
// faults, and a start after each of its steps. A history may end badly only as a row of
// the table says that it can.
namespace {

using namespace starts;

enum Fault {
    MoveCut,
    PointerTorn,
    PointerNotWritten,
    NoOpen,
    NoOpenAtMove,
    ClockBack,
    WrongTime,
    EqualTimes,
    FileLost,
    TailLost,
    ClearCut,
    Restored,
    Copied
};
char const* const FaultNames[] = {"move cut",   "pointer torn",       "pointer not written",
                                  "open fails", "open at move fails", "clock back",
                                  "wrong time", "equal times",        "file lost",
                                  "tail lost",  "clear cut",          "restored",
                                  "copied"};

struct Step {
    Fault fault;
    int value;
    int after;  // so many appends
};

// A line of the table: | start | faults | why | one | two |, where "another" stands for
// any second fault. one and two count the histories that end so with that many faults.
struct Row {
    std::string way, fault;
    bool withAnother;
    long expected[2];
    long found[2] = {0, 0};
    std::string example{};
};

std::vector<Row> readTable(char const* path) {
    std::vector<Row> rows;
    std::ifstream page(path);
    bool inside = false;
    for (std::string line; std::getline(page, line);) {
        if (line.find("<!-- ") == 0) inside = line == "<!-- table of starts -->";
        std::vector<std::string> cells;
        std::istringstream split(line);
        for (std::string cell; inside && std::getline(split, cell, '|');) {
            cells.push_back(cell.size() > 2 ? cell.substr(1, cell.size() - 2) : "");
        }
        if (cells.size() != 6 || !std::isdigit(cells[5][0])) continue;
        std::string const fault = cells[2].substr(0, cells[2].find(','));
        rows.push_back(
            {cells[1], fault, fault != cells[2], {std::stol(cells[4]), std::stol(cells[5])}});
    }
    return rows;
}

std::vector<Row> rows;
long histories = 0;
long unnamed = 0;

class Enumeration {
  public:
    // first: the only fault that another may follow, if there is one.
    Enumeration(Shape const& shape, int faults, std::optional<Fault> first = {})
        : mShape(shape), mFirst(first) {
        World world(shape);
        world.start();
        explore(world, 0, faults);
    }

  private:
    void explore(World world, int step, int faults) {
        std::size_t const known = mPast.size();
        for (; step < 3 * mShape.capacity(); ++step) {
            mPast.push_back(world.disk);
            if (!restartsWell(world)) break;
            if (faults > 0) tryFaults(world, step, faults);
            world.append();
            if (world.damage != nullptr) {
                record(world);
                break;
            }
        }
        mPast.resize(known);
    }

    // Restarts now, and after each of the next records.
    bool restartsWell(World world) {
        for (int i = 0; i < 2 * mShape.slots + 2; ++i) {
            world.start();
            if (world.damage == nullptr) world.append();
            if (world.damage != nullptr) {
                record(world);
                return false;
            }
        }
        return true;
    }

    template <class Change>
    void with(World const& world, Step const& step, int faults, Change const& change) {
        World changed = world;
        mTaken.push_back(step);
        change(changed);
        ++histories;
        if (changed.damage != nullptr) {
            record(changed);
        } else {
            bool const isLast = mFirst && step.fault != *mFirst;
            explore(changed, step.after, isLast ? 0 : faults - 1);
        }
        mTaken.pop_back();
    }

    void tryFaults(World const& world, int step, int faults) {
        auto const fault = [&](Fault kind, int value, auto const& change) {
            with(world, {kind, value, step}, faults, change);
        };
        int const to = world.nextFile();
        if (world.moves()) {
            fault(MoveCut, 0, [&](World& w) {
                if (mShape.hasPointer) w.writePointer(to, true);
                w.start();
            });
            fault(MoveCut, 1, [&](World& w) { w.move(to), w.start(); });
            fault(NoOpenAtMove, to, [&](World& w) { w.move(to, false); });
        }
        for (int file = 0; file < mShape.files; ++file) {
            fault(NoOpen, file, [&](World& w) { w.start(file); });
            if (!world.disk.files[index(file)].exists) continue;
            fault(FileLost, file, [&](World& w) { w.disk.files[index(file)] = {}, w.start(); });
        }
        for (int time = Beginning; time < world.clock; ++time) {
            fault(ClockBack, time, [&](World& w) { w.clock = time; });
        }
        for (int time : {-1, 1, world.clock - mShape.slots, world.clock - mShape.capacity() + 1,
                         world.clock + 1000}) {
            fault(WrongTime, time, [&](World& w) { w.nextTime = time; });
        }
        if (!world.clockStands) fault(EqualTimes, 0, [](World& w) { w.clockStands = true; });
        for (int writes = 1; writes <= world.unflushed(); ++writes) {
            fault(TailLost, writes, [&](World& w) { w.takeBack(writes), w.start(); });
        }
        for (int removed = 0; removed <= mShape.files + 1; ++removed) {
            fault(ClearCut, removed, [&](World& w) {
                for (int f = 0; f < std::min(removed, mShape.files); ++f)
                    w.disk.files[index(f)] = {};
                if (removed > mShape.files && mShape.hasPointer) w.writePointer(0, true);
                w.start();
            });
        }
        if (mShape.hasPointer) tryPointerFaults(world, to, fault);
    }

    template <class TryFault>
    void tryPointerFaults(World const& world, int to, TryFault const& fault) {
        for (int digits = to; world.moves(); digits /= 10) {
            int const read = digits < 10 ? Unreadable : digits / 10;
            fault(PointerTorn, read, [&](World& w) { w.writePointer(read, true), w.start(); });
            if (read == Unreadable) break;
        }
        for (int moves = 1; moves < mShape.files && world.moves(); ++moves) {
            fault(PointerNotWritten, moves, [&](World& w) { w.failingPointerWrites = moves; });
        }
        for (int pointerLast : {0, 1}) {
            fault(Copied, pointerLast, [&](World& w) {
                for (File& file : w.disk.files) file.modified = w.clock;
                w.disk.pointerModified = w.clock + 2 * pointerLast - 1;
                w.start();
            });
        }
        for (int age : {0, 1, mShape.slots, mShape.capacity()}) {
            if (age >= static_cast<int>(mPast.size())) break;
            Disk const backup = mPast[mPast.size() - 1 - static_cast<std::size_t>(age)];
            for (int copied = 0; backup.pointer != Unreadable && copied <= mShape.files; ++copied) {
                fault(Restored, age * 100 + copied, [&](World& w) {
                    w.disk.pointer = Unreadable;
                    for (int file = 0; file < copied; ++file) w.restore(backup, file);
                    w.start(Everywhere, &backup);
                });
            }
        }
    }

    // A history of two faults is counted in the row of one where that alone explains it.
    void record(World const& world) {
        for (Row& row : rows) {
            bool const named =
                row.way == WayNames[world.way] && row.withAnother <= (mTaken.size() == 2) &&
                std::any_of(mTaken.begin(), mTaken.end(),
                            [&](Step const& step) { return row.fault == FaultNames[step.fault]; });
            if (!named) continue;
            ++row.found[mTaken.size() - 1];
            if (row.example.empty()) row.example = describe(world);
            return;
        }
        if (++unnamed < 10) std::printf("not in the table: %s\n", describe(world).c_str());
    }

    std::string describe(World const& world) const {
        std::ostringstream text;
        text << WayNames[world.way] << ", " << mShape.files << " files of " << mShape.slots;
        for (Step const& step : mTaken) {
            text << ", " << FaultNames[step.fault] << ' ' << step.value << " after " << step.after;
        }
        text << ": " << world.damage << "; pointer " << world.disk.pointer << ", records";
        for (File const& file : world.disk.files) {
            text << (file.exists ? " |" : "");
            for (Slot const& slot : file.slots) text << ' ' << slot.id << '@' << slot.time;
        }
        return text.str();
    }

    Shape const mShape;
    std::optional<Fault> const mFirst;
    std::vector<Disk> mPast;
    std::vector<Step> mTaken;
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    int const faults = std::atoi(argv[1]);
    rows = readTable(argv[2]);
    for (int files : {4, 5}) {
        for (int slots : {2, 3}) {
            Enumeration({files, slots, true}, faults);
            Enumeration({files, slots, false}, faults);
        }
    }
    Enumeration({12, 2, true}, faults, PointerTorn);  // whose numbers have two digits
    bool wrong = unnamed != 0 || rows.empty();
    for (Row const& row : rows) {
        bool const asFound =
            row.found[0] == row.expected[0] && (faults == 1 || row.found[1] == row.expected[1]);
        wrong |= !asFound;
        std::printf("%s%s: %s%s: %ld, %ld\n",
                    asFound ? "" : "NOT AS IN THE TABLE: ", row.way.c_str(), row.fault.c_str(),
                    row.withAnother ? ", another" : "", row.found[0], row.found[1]);
        if (!row.example.empty()) std::printf("    %s\n", row.example.c_str());
    }
    std::printf("%ld histories, %ld that no row names\n", histories, unnamed);
    return wrong ? 1 : 0;
}
