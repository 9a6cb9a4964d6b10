#include <sys/stat.h>

#include <fstream>

#include "../faults/Rig.h"
#include "msgclasses/Var.h"

// One fuzz target for each TARGET: 0 a file, 1 all files, 2 a request, 3 the pointer.

extern "C" void sync() noexcept {}  // the lamps' flush is not to reach the machine
extern "C" int fsync(int) { return 0; }

namespace {

using namespace rig;

Rig& rigged() {
    static State state{};
    static Rig* const made = [] {
        char const* const temporary = std::getenv("TMPDIR");
        std::string root =
            (temporary != nullptr ? temporary : "/tmp") + std::string("/fuzz.XXXXXX");
        setenv("VEK_ROOT", mkdtemp(&root[0]), 1);
        for (char const* name : {"/data", "/settings"}) mkdir((root + name).c_str(), 0700);
        if (std::freopen("/dev/null", "w", stderr) == nullptr && TARGET >= 0) std::abort();
        auto* const fresh = new Rig{state};
        fresh->each([](auto& part) { part.start(false, false); });
        for (int i = 0; i < 100; ++i) fresh->step(true, false);
        return fresh;
    }();
    return *made;
}

// Puts the input, or the next part of it behind its length, where a file belongs.
template <class Part>
void putFile(Part& part, int file, std::string const& bytes) {
    std::ofstream(part.path(file), std::ios::binary | std::ios::trunc) << bytes;
    std::fill_n(part.held.doubt, part.Capacity, Anything);
    part.held.holes = true;
}
std::string takeChunk(std::string& input) {
    std::size_t const size = input.empty() ? 0 : static_cast<unsigned char>(input[0]) * 4u;
    std::string const chunk = input.substr(!input.empty(), size);
    input.erase(0, size + 1);
    return chunk;
}

template <class Part>
void live(Part& part, int id) {
    part.close();
    part.start(false, false);
    part.query();
    for (int i = 0; i < 3; ++i) part.write(id + i, true);
    part.reopen();
    part.query();
}

template <class Part>
void request(Part& part, std::string const& input) {
    ZEB::Var const bytes(ZEB::ByteBuf(input.data(), input.size()));
    unsigned first = 0;
    unsigned short client = 0;
    unsigned count = part.log->SetupGetLogRecordsRange(bytes, &first, &client);
    auto const held = static_cast<unsigned>(part.held.count);
    require(part.Lamps || count <= held, "more than is held", part.Size);
    for (int i = 0; i < 3 && count > 0; ++i) {
        ZEB::ByteBuf reply;
        unsigned const before = count;
        part.log->GetLogRecords(&first, &count, client, reply);
        auto const size = (before - count) * static_cast<unsigned>(part.Size);
        require(reply.size() == size + (client != 0 ? 10 : 8), "another length", part.Size);
    }
    ZEB::ByteBuf dates;
    if constexpr (part.Measured) part.log->GetLogRangeDates(bytes, dates);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    std::string input(reinterpret_cast<char const*>(data), size);
    int const which = input.empty() ? 0 : data[0] % 3;
    int index = 0;
    rigged().each([&](auto& part) {
        if (TARGET == 0 && which == index++) putFile(part, 0, input.substr(1)), live(part, 9);
        for (int file = 0; file < part.FileCount + part.Measured && TARGET == 1; ++file) {
            putFile(part, file, takeChunk(input));
        }
        if (TARGET == 2) request(part, input);
        if (TARGET == 3 && part.Measured) putFile(part, part.FileCount, input);
        if (TARGET % 2 == 1) live(part, 9);
    });
    return 0;
}

#ifdef REPLAY
int main(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        std::ifstream in(argv[i], std::ios::binary);
        std::string const bytes{std::istreambuf_iterator<char>(in), {}};
        LLVMFuzzerTestOneInput(reinterpret_cast<unsigned char const*>(bytes.data()), bytes.size());
    }
}
#endif
