#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <map>
#include <vector>

#include "Rows.h"

namespace bench {

namespace {

// Once round the ring and on into its second round.
constexpr int Calls = 200 * Slots + 5 * Slots;

struct Call {
    float nanoseconds;
    int number;
};

char const* whatItDid(int number) {
    if (number % Slots != 0) return "wrote a slot";
    return number < 200 * Slots ? "made a new file" : "opened the ring's oldest file";
}

std::vector<Call> writeAll() {
    emptyData();
    auto const log = enabledLog<Events::Log>();
    auto const record = Events::record(1000);
    std::vector<Call> calls(Calls);
    for (int i = 0; i < Calls; ++i) {
        auto const start = std::chrono::steady_clock::now();
        log->writeRecord(record);
        std::chrono::duration<float, std::nano> const taken =
            std::chrono::steady_clock::now() - start;
        calls[static_cast<std::size_t>(i)] = {taken.count(), i};
    }
    return calls;
}

}  // namespace

void latency() {
    std::vector<Call> calls = writeAll();
    std::sort(calls.begin(), calls.end(),
              [](Call const& a, Call const& b) { return a.nanoseconds < b.nanoseconds; });
    std::printf("%d calls of BasicEventLog::writeRecord, %d of them the first of a file:\n\n",
                Calls, Calls / Slots);
    std::printf("| p50 | p99 | p99.9 | p99.99 | max |\n|---|---|---|---|---|\n|");
    for (double const part : {0.5, 0.99, 0.999, 0.9999, 1.0}) {
        auto const rank = static_cast<std::size_t>(std::ceil(part * Calls)) - 1;
        std::printf(" %s |", inUnits(calls[rank].nanoseconds).c_str());
    }
    std::map<int, std::map<std::string, int>> histogram;
    for (Call const& call : calls)
        ++histogram[std::ilogb(call.nanoseconds)][whatItDid(call.number)];
    std::printf("\n\n| up to | calls | which of them |\n|---|---|---|\n");
    for (auto const& [power, kinds] : histogram) {
        int sum = 0;
        std::string text;
        for (auto const& [kind, count] : kinds) {
            sum += count;
            if (kind != whatItDid(1)) text += std::to_string(count) + " " + kind + "; ";
        }
        std::printf("| %s | %d | %s |\n", inUnits(std::ldexp(1.0, power + 1)).c_str(), sum,
                    text.c_str());
    }
    std::printf("\nThe slowest:");
    for (std::size_t i = 1; i <= 10; ++i) {
        Call const& call = calls[calls.size() - i];
        std::printf(" %s (call %d, %s)%s", inUnits(call.nanoseconds).c_str(), call.number,
                    whatItDid(call.number), i < 10 ? "," : ".\n");
    }
}

}  // namespace bench
