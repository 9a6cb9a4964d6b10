#include <cstdio>
#include <string>

#include "Bench.h"
#include "Files.h"
#include "Rows.h"

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr,
                     "Usage: vek_bench rows|peers|growth|latency|proofs DIRECTORY (emptied) [PART "
                     "OF A ROW'S NAME]\n");
        return 2;
    }
    char interleaved[] = "--benchmark_enable_random_interleaving=true";
    char* flags[] = {argv[0], interleaved, nullptr};
    int count = 2;
    benchmark::Initialize(&count, flags);
    bench::useRoot(argv[2]);
    if (argc > 3) bench::onlyRowsWith(argv[3]);
    std::string const mode = argv[1];
    if (mode == "rows") bench::logRows();
    if (mode == "peers") bench::peerRows();
    if (mode == "growth") bench::growth();
    if (mode == "latency") bench::latency();
    if (mode == "proofs") bench::proofs();
    return 0;
}
