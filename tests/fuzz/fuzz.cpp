#include "../faults/Rig.h"
#include "msgclasses/Var.h"

// One fuzz target for each TARGET: 0 a file, 1 all files, 2 a request, 3 the pointer.

namespace {

using namespace rig;

Rig& rigged() {
    static State state{};
    static std::unique_ptr<Rig> made;
    if (made) return *made;
    setenv("VEK_ROOT", "/rig", 1);
    made.reset(new Rig{state});
    made->each([](auto& part) { part.start(false, false); });
    for (int i = 0; i < 100; ++i) made->step(true, false);
    return *made;
}

// Lets the log live on with the input in its files.
template <class Part>
void live(Part& part, int firstFile, int endFile, std::string& input) {
    part.close();
    for (int file = firstFile; file < endFile; ++file) {
        int const size = file == part.FileCount ? 4 : 18 + part.SlotCount * part.Size;
        auto const taken = TARGET == 1 ? static_cast<std::size_t>(size) : input.size();
        part.spoil(file, input.substr(0, taken));
        input.erase(0, taken);
    }
    part.settle(false);
    part.held.holes = true;
    part.start(false, false);
    part.query();
    part.write(++rigged().state.id, true);
    part.reopen();
    part.close();  // or what stays looks like a leak
    sync();
    require(ftruncate(STDERR_FILENO, lseek(STDERR_FILENO, 0, SEEK_SET)) == 0, "messages stay");
}

template <class Part>
void ask(Part& part, ZEB::Var const& request) {
    unsigned first = 0;
    unsigned short client = 0;
    unsigned count = part.log->SetupGetLogRecordsRange(request, &first, &client);
    bool const held = count <= static_cast<unsigned>(part.held.count);
    require(part.Lamps || held, "more than is held", part.Size);
    for (int i = 0; i < 3 && count > 0; ++i) {
        ZEB::ByteBuf reply;
        unsigned const before = count;
        part.log->GetLogRecords(&first, &count, client, reply);
        auto const size = (before - count) * static_cast<unsigned>(part.Size);
        require(reply.size() == size + (client != 0 ? 10 : 8), "another length", part.Size);
    }
    ZEB::ByteBuf dates;
    if constexpr (Part::Measured) part.log->GetLogRangeDates(request, dates);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    std::string input(reinterpret_cast<char const*>(data), size);
    ZEB::Var const request(ZEB::ByteBuf(input.data(), size));
    int which = size == 0 ? 0 : data[0] % 3;
    rigged().each([&](auto& part) {
        int const end = part.FileCount + part.Measured;
        if (TARGET == 0 && which-- == 0) live(part, 0, 1, input.erase(0, 1));
        if (TARGET == 1) live(part, 0, end, input);
        if (TARGET == 2) ask(part, request);
        if (TARGET == 3 && part.Measured) live(part, part.FileCount, end, input);
    });
    return 0;
}

#ifdef REPLAY
#include <fstream>
int main(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        std::ifstream in(argv[i], std::ios::binary);
        std::string const bytes{std::istreambuf_iterator<char>(in), {}};
        LLVMFuzzerTestOneInput(reinterpret_cast<unsigned char const*>(&bytes[0]), bytes.size());
    }
    return 0;
}
#endif
