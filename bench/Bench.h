#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace bench {

// One way of doing a row's work: sets up, loops over the state, tears down.
using Side = std::function<void(benchmark::State&)>;

// makeOp sets up, untimed, and returns what is timed once per iteration.
template <class MakeOp>
Side side(MakeOp makeOp) {
    return [makeOp](benchmark::State& state) {
        auto op = makeOp();
        for (auto _ : state) op();
    };
}

struct Repeat {
    benchmark::IterationCount iterations;  // of one repetition
    int repetitions;
    // Work that waits is timed by the wall clock, all other work by processor time,
    // which other processes disturb less.
    bool waits = false;
};

struct Figures {
    double median;  // nanoseconds of one iteration, over all repetitions
    double p99;
};

// Runs the sides' repetitions in random order, so that whatever slows the machine
// down affects all of them.
std::vector<Figures> measure(std::vector<Side> const& sides, Repeat repeat);

struct Row {
    std::string work;
    double bound;  // the greatest ratio of the library to the bare calls; 0: none
    Repeat repeat;
    Side library;
    Side bare;  // the same work as bare system calls
    bool withP99 = false;
    std::vector<std::pair<std::string, Side>> others{};
};

void printTableHead();
void onlyRowsWith(std::string part);  // of the name; the others are left out
// Measures and prints a row of the table, and one more for the p99.
void printRow(Row const& row);

std::string inUnits(double nanoseconds);

}  // namespace bench
