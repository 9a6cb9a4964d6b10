#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <string>
#include <vector>

namespace bench {

// One way of doing a row's work. run sets up, loops over the state, tears down.
struct Side {
    std::string name;
    std::function<void(benchmark::State&)> run;
};

// makeOp sets up, untimed, and returns what is timed once per iteration.
template <class MakeOp>
Side side(std::string name, MakeOp makeOp) {
    return {std::move(name), [makeOp](benchmark::State& state) {
                auto op = makeOp();
                for (auto _ : state) op();
            }};
}

struct Repeat {
    benchmark::IterationCount iterations = 0;  // of one repetition; 0: as many as 50 ms hold
    int repetitions = 15;
    // Work that waits is timed by the clock on the wall; all other work by the
    // processor time it takes, which others on the machine disturb less.
    bool waits = false;
};

struct Figures {
    double median;  // nanoseconds of one iteration, over all repetitions
    double p99;
};

// Runs the sides' repetitions in random order, so that what slows the machine
// down meets all of them.
std::vector<Figures> measure(std::vector<Side> const& sides, Repeat repeat);

struct Row {
    std::string work;
    double bound;  // the greatest ratio of the first side to the second; 0: none
    Side library;
    Side bare;  // the same work as bare system calls
    Repeat repeat{};
    std::vector<Side> peers{};
    double p99Bound = 0;  // also holds the 99th percentile against the bare one's
};

void printTableHead();
void onlyRowsWith(std::string part);  // of the name; the others are left out
// Measures and prints a row of the table, and one more for a bound on the p99.
void printRow(Row const& row);
// Rows printed so far whose ratio exceeds its bound.
int rowsMissed();

std::string inUnits(double nanoseconds);

}  // namespace bench
