#include "Bench.h"

#include <algorithm>
#include <cstdio>
#include <map>

namespace bench {

namespace {

std::string wanted;

class Collector : public benchmark::BenchmarkReporter {
  public:
    explicit Collector(bool wallClock) : mWallClock(wallClock) {}
    bool ReportContext(Context const& /*context*/) override { return true; }
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
               std::string const& others) {
    char limit[32] = "";
    if (bound > 0) std::snprintf(limit, sizeof limit, "≤ %.2f", bound);
    std::printf("| %s | %s | %s | %.2f | %s | %s |\n", work.c_str(), inUnits(library).c_str(),
                inUnits(bare).c_str(), library / bare, limit, others.c_str());
    std::fflush(stdout);
}

}  // namespace

std::vector<Figures> measure(std::vector<Side> const& sides, Repeat repeat) {
    benchmark::ClearRegisteredBenchmarks();
    for (std::size_t i = 0; i < sides.size(); ++i) {
        auto* const added = benchmark::RegisterBenchmark(std::to_string(i).c_str(), sides[i]);
        added->UseRealTime()->Iterations(repeat.iterations)->Repetitions(repeat.repetitions);
        added->ReportAggregatesOnly()->ComputeStatistics("p99", p99);
    }
    Collector collector(repeat.waits);
    benchmark::RunSpecifiedBenchmarks(&collector);
    std::vector<Figures> figures;
    for (std::size_t i = 0; i < sides.size(); ++i) {
        figures.push_back(collector.figures(std::to_string(i)));
    }
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
    for (auto const& other : row.others) sides.push_back(other.second);
    std::vector<Figures> const found = measure(sides, row.repeat);
    Figures const bare = found[1];
    std::string others;
    for (std::size_t i = 0; i < row.others.size(); ++i) {
        char text[100];
        std::snprintf(text, sizeof text, "%s%s %.2f", i > 0 ? ", " : "",
                      row.others[i].first.c_str(), found[i + 2].median / bare.median);
        others += text;
    }
    printLine(row.work, found[0].median, bare.median, row.bound, others);
    if (row.withP99) printLine(row.work + ", p99", found[0].p99, bare.p99, row.bound, "");
}

std::string inUnits(double nanoseconds) {
    char const* const units[] = {"ns", "µs", "ms", "s"};
    std::size_t unit = 0;
    for (; nanoseconds >= 1000 && unit < 3; ++unit) nanoseconds /= 1000;
    char text[32];
    std::snprintf(text, sizeof text, "%.3g %s", nanoseconds, units[unit]);
    return text;
}

}  // namespace bench
