#include "Bench.h"

#include <algorithm>
#include <cstdio>
#include <map>

namespace bench {

namespace {

int missed = 0;
std::string wanted;

class Collector : public benchmark::BenchmarkReporter {
  public:
    explicit Collector(bool wallClock) : mWallClock(wallClock) {}
    bool ReportContext(Context const&) override { return true; }
    void ReportRuns(std::vector<Run> const& runs) override {
        for (Run const& run : runs) {
            if (run.run_type != Run::RT_Aggregate) continue;
            mFound[run.run_name.function_name][run.aggregate_name] =
                mWallClock ? run.GetAdjustedRealTime() : run.GetAdjustedCPUTime();
        }
    }
    Figures figures(std::string const& name) {
        return {mFound[name]["median"], mFound[name]["p99"]};
    }

  private:
    bool mWallClock;
    std::map<std::string, std::map<std::string, double>> mFound;
};

double p99(std::vector<double> const& times) {
    std::vector<double> sorted = times;
    std::sort(sorted.begin(), sorted.end());
    return sorted[(sorted.size() - 1) * 99 / 100];
}

void printLine(std::string const& work, double library, double bare, double bound,
               std::string const& peers) {
    double const ratio = library / bare;
    char limit[32] = "";
    if (bound > 0)
        std::snprintf(limit, sizeof limit, "≤ %.2f%s", bound, ratio > bound ? " **missed**" : "");
    if (bound > 0 && ratio > bound) ++missed;
    std::printf("| %s | %s | %s | %.2f | %s | %s |\n", work.c_str(), inUnits(library).c_str(),
                inUnits(bare).c_str(), ratio, limit, peers.c_str());
    std::fflush(stdout);
}

}  // namespace

std::vector<Figures> measure(std::vector<Side> const& sides, Repeat repeat) {
    benchmark::ClearRegisteredBenchmarks();
    for (Side const& one : sides) {
        auto* const added = benchmark::RegisterBenchmark(one.name.c_str(), one.run);
        added->UseRealTime()->Repetitions(repeat.repetitions)->ReportAggregatesOnly();
        added->ComputeStatistics("p99", p99);
        if (repeat.iterations > 0) added->Iterations(repeat.iterations);
    }
    Collector collector(repeat.waits);
    benchmark::RunSpecifiedBenchmarks(&collector);
    std::vector<Figures> figures;
    for (Side const& one : sides) figures.push_back(collector.figures(one.name));
    return figures;
}

void printTableHead() {
    std::printf(
        "| work | library | bare calls | ratio | bound | others, as ratios to the bare calls |\n"
        "|---|---|---|---|---|---|\n");
}

void onlyRowsWith(std::string part) { wanted = std::move(part); }

void printRow(Row const& row) {
    if (row.work.find(wanted) == std::string::npos) return;
    std::vector<Side> sides{row.library, row.bare};
    sides.insert(sides.end(), row.peers.begin(), row.peers.end());
    std::vector<Figures> const found = measure(sides, row.repeat);
    std::string peers;
    for (std::size_t i = 2; i < sides.size(); ++i) {
        char text[100];
        std::snprintf(text, sizeof text, "%s%s %.2f", peers.empty() ? "" : ", ",
                      sides[i].name.c_str(), found[i].median / found[1].median);
        peers += text;
    }
    printLine(row.work, found[0].median, found[1].median, row.bound, peers);
    if (row.p99Bound > 0)
        printLine(row.work + ", p99", found[0].p99, found[1].p99, row.p99Bound, "");
}

int rowsMissed() { return missed; }

std::string inUnits(double nanoseconds) {
    char const* const units[] = {"ns", "µs", "ms", "s"};
    std::size_t unit = 0;
    for (; nanoseconds >= 1000 && unit < 3; ++unit) nanoseconds /= 1000;
    char text[32];
    std::snprintf(text, sizeof text, "%.3g %s", nanoseconds, units[unit]);
    return text;
}

}  // namespace bench
