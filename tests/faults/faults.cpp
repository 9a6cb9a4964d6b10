#include <sys/wait.h>

#include <cerrno>
#include <iterator>
#include <thread>
#include <vector>

#include "Rig.h"
#include "msgclasses/Var.h"

// faults KIND SEED STEPS WHICH: a random life of the three logs. A child is forked for each
// fault of the kind that is chosen, goes on from there and checks what it finds. WHICH is
// a stride N, for every Nth fault, or @N, for fault N alone, in this process (@N,M: and
// then for fault M).
// Prints: kind, tried, failed, and the most records that each log lost where what had
// been written was kept, and where it was dropped.
namespace {

using namespace rig;

struct Shared {
    long tried, failed, lost[2][3];
};
auto& shared = *static_cast<Shared*>(
    mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
std::unique_ptr<Rig> rigged;
bool withLamps = false;

unsigned stride = 1;
std::string replayed;  // the numbers after the @
std::string taken;     // the numbers of the faults that this process went on with
unsigned faults = 0;   // passed so far
bool isChild = false;
int stepsLeft = 40;  // in a child

// Whether this process goes on with the fault.
bool takes(std::string const& name, unsigned variant) {
    unsigned const number = faults++;
    if (number % stride != 0) return false;
    std::string const path = taken + (taken.empty() ? "" : ",") + std::to_string(number);
    bool const isReplayed = (replayed + ',').rfind(path + ',', 0) == 0;
    if (!replayed.empty() && !isReplayed) return false;
    ++shared.tried;
    pid_t const pid = isReplayed ? 0 : fork();
    if (pid == 0) {
        if (!isReplayed) alarm(60);
        taken = path;
        return isChild = true;
    }
    int status = 0;
    waitpid(pid, &status, 0);
    if (status != 0) {
        ++shared.failed;
        std::printf("  fault %s: %s, variant %u, status %d\n", path.c_str(), name.c_str(), variant,
                    status);
        std::fflush(stdout);
    }
    return false;
}

void live(int steps, bool withRestore) {
    for (; steps > 0 && stepsLeft > 0; --steps) {
        rigged->step(withLamps, withRestore);
        if (isChild) --stepsLeft;
    }
}

void reopenAll() {
    rigged->each([](auto& part) { part.reopen(); });
}

// Power cuts

// What the cut takes of the changes that were not flushed.
enum Loss { Nothing, Everything, One, AllButOne, Half };

int cutsLeft = 1;
bool nothingLost = true;  // by any cut so far

// Starts over what a cut or damage left.
void recover(bool dropped, bool placeKnown) {
    static bool droppedBefore = false;
    droppedBefore |= dropped;
    long* most = shared.lost[droppedBefore];
    rigged->each([&](auto& part) {
        *most = std::max<long>(*most, part.start(false, placeKnown));
        ++most;
    });
}

// What was not flushed may be anything from now on.
template <class Part>
void doubtUnflushed(Part& part) {
    auto const now = part.onDisk();
    swapWithFlushed();
    auto const flushed = part.onDisk();
    swapWithFlushed();
    for (int at = 0; at < part.Capacity; ++at) {
        bool const safe = now[at] == flushed[at];
        require(!part.Lamps || safe || part.held.doubt[at] != Sure, "an unflushed lamp record");
        if (!safe || !now[at].used()) part.held.doubt[at] = Anything;
    }
}

void losePending(Loss loss) {
    std::size_t const one = faults * 2654435761u % std::max<std::size_t>(pendingChanges(), 1);
    lose([&](std::size_t i) {
        bool const inHalf = (i * 2654435761u + one * 40503u) / 8 % 2 == 0;
        bool const kept[] = {true, false, i != one, i == one, inHalf};
        return kept[loss];
    });
}

Fault cut(std::string const& name, std::size_t size, Change const* change);

// whole: no write was torn.
[[noreturn]] void powerCut(Loss loss, bool whole) {
    onCall = --cutsLeft > 0 ? cut : nullptr;
    nothingLost = nothingLost && loss == Nothing;
    rigged->each([&](auto& part) {
        if (loss != Nothing) doubtUnflushed(part);
        part.held.holes |= loss != Nothing || !whole;
    });
    losePending(loss);
    recover(loss != Nothing, nothingLost && whole);
    onCall = nullptr;
    rigged->each([](auto& part) { part.dropBackup(); });
    live(12, false);
    reopenAll();
    std::_Exit(0);
}

// Cuts before the call, and within what it writes.
Fault cut(std::string const& name, std::size_t size, Change const* change) {
    if (change == nullptr && name != "fsync" && name != "sync") return {};
    std::size_t const length = change != nullptr && size > 0 ? size : 1;
    std::size_t const stepSize = length > 200 ? length / 9 : 1;
    for (std::size_t written = 0; written < length; written += stepSize) {
        for (Loss loss : {Nothing, Everything, One, AllButOne, Half}) {
            if (written > 0 && loss > Everything) break;
            if (!takes(name + " at byte " + std::to_string(written), loss)) continue;
            if (written > 0) {
                Change torn = *change;
                torn.bytes.resize(written);
                perform(torn);
            }
            powerCut(loss, written == 0);
        }
    }
    return {};
}

// Failing calls and allocations

std::string failing;
Fault failure;

Fault failAgain(std::string const& name, std::size_t, Change const* change) {
    if (name != failing) return {};
    rigged->each([](auto& part) { part.unsure = part.held.holes = true; });
    injected = failure.error != 0 ? failure.error : EIO;
    bool const changes = change != nullptr && (name == "fopen" || name == "unlink");
    mustReport = failure.error > EINTR && (changes || name == "open" || name == "opendir" ||
                                           name == "posix_fallocate" || name == "linkat");
    return failure;
}

// How a call fails. Cut short: only what transfers bytes.
enum Way { Once, ForGood, Interrupted, CutShortForGood, CutShortOnce };

Fault fail(std::string const& name, std::size_t size, Change const* change) {
    for (Way way : {Once, ForGood, Interrupted, CutShortForGood, CutShortOnce}) {
        if (way > Interrupted && size <= 1) break;
        if (!takes(name, way)) continue;
        bool const full = name == "pwrite" || name == "fwrite" || name == "posix_fallocate";
        bool const opens = name.find("open") != std::string::npos;
        failing = name;
        failure.error = way == Interrupted ? EINTR : full ? ENOSPC : opens ? EMFILE : EIO;
        if (way > Interrupted) failure = {0, size / 2};
        onCall = way == ForGood || way == CutShortForGood ? failAgain : nullptr;
        return failAgain(name, size, change);
    }
    return {};
}

void failAllocation() {
    if (!isChild && takes("allocation", Once)) onAllocation = nullptr;
    if (!isChild && !takes("allocation", ForGood)) return;
    mustThrow = true;
    injected = ENOMEM;
    throw std::bad_alloc();
}

// Damage

// Starts over a file of these bytes: what is sound in it stays, what is not is made again.
template <class Part>
void damage(Part& part, int file, std::string const& bytes) {
    part.spoil(file, bytes);
    part.settle(false);
    powerCut(Nothing, false);
}

template <class Part>
void damageFile(Part& part, int file) {
    std::string bytes(static_cast<std::size_t>(part.FileSize), '\0');
    int const fd = open(part.path(file).c_str(), O_RDWR);
    pread(fd, &bytes[0], bytes.size(), 0);
    close(fd);
    for (unsigned bit = 0; bit < bytes.size() * 8; ++bit) {
        std::string flipped = bytes;
        flipped[bit / 8] = static_cast<char>(flipped[bit / 8] ^ (1 << bit % 8));
        if (takes("bit flip", bit)) damage(part, file, flipped);
    }
    std::string const longer = bytes + std::string(9, 'x');
    for (unsigned length = 0; length < longer.size(); ++length) {
        if (takes("length", length)) damage(part, file, longer.substr(0, length));
    }
}

template <class Part>
void damageAll(Part& part) {
    part.close();
    for (int file = 0; file < part.FileCount; file += 2) damageFile(part, file);
    char const* const pointers[] = {
        "",     " 3\n", "x",  "1x", "+2",  "0x3",        "4",
        "\xff", "-1",   "-7", "5",  "400", "2147483647", "99999999999999999999"};
    for (unsigned i = 0; i < std::size(pointers) && part.Measured; ++i) {
        if (takes("pointer", i)) damage(part, part.FileCount, pointers[i]);
    }
}

template <class Part>
void emptyFiles(Part& part) {
    part.close();
    for (int file = 0; file < part.FileCount; ++file) part.spoil(file, "");
    part.settle(false);
    part.start(false, false);
}

// Threads and long lives, on the machine's own disk

// Shows what is in use at every tenth: descriptors, files, memory.
void soak(long operations) {
    std::string const pid = "/proc/" + std::to_string(getpid());
    std::string const show = "echo $(ls " + pid +
                             "/fd | wc -l) descriptors, $(ls $VEK_ROOT/data | " +
                             "wc -l) files, $(sed -n 's/VmRSS:\\s*//p' " + pid + "/status)";
    for (shared.tried = 1; shared.tried <= operations; ++shared.tried) {
        Slot slot = {};
        std::memset(slot.bytes, 1 + static_cast<int>(shared.tried % 100), sizeof slot.bytes);
        if (shared.tried % 3 == 0) rigged->events.store(slot, true);
        if (shared.tried % 3 == 1) rigged->measured.store(slot, true);
        if (shared.tried % 3 == 2) rigged->lamps.store(slot, true);
        if (shared.tried % 10000 == 0) rigged->each([](auto& part) { part.close(); });
        if (shared.tried % 10000 == 0) rigged->each([](auto& part) { part.open(); });
        if (shared.tried % (operations / 10) == 0) shared.failed += std::system(show.c_str());
    }
}

void append(ZEB::BasicMeasurementLog& log, int i) {
    log.writeRecord(ZEB::MeasurementRecord(ZEB::TimeStamp(1 + i), 1));
}

void ask(ZEB::BasicMeasurementLog& log, int i) {
    ZEB::Var const request(ZEB::ByteBuf(reinterpret_cast<char const*>(&i), sizeof i));
    ZEB::ByteBuf reply;
    unsigned first = 0;
    unsigned short client = 0;
    log.GetLogRange(reply);
    log.GetLogRangeDates(request, reply);
    log.SetupGetLogRecordsRange(request, &first, &client);
    unsigned count = 9;
    log.GetLogRecords(&first, &count, 1, reply);
}

void disturb(ZEB::BasicMeasurementLog& log, int i) {
    if (i % 7 == 0) log.SaveToFile(rigged->measured.path(-1).c_str(), 0, i);
    if (i % 19 == 0) log.Clear();
    if (i % 5 == 0) log.close();
    log.SetEnabled(log.GetCount() + log.GetFirst() + log.GetLostRecords().error >= 0);
}

void readFile(ZEB::EventFile& file, int i) {
    bool const four = file.readRecords(0, 4).size() == 4;
    require(four && file.readRecord(1 + i % 3).client() == 0, "read");
    file.IsCurrentFile(rigged->events.path(0).c_str());
}

void writeFile(ZEB::EventFile& file, int i) {
    file.writeRecord(ZEB::EventMsg(ZEB::TimeStamp(i), 1, 1, "written"), 1 + i % 3);
}

void reopen(ZEB::EventFile& file, int i) {
    file.closeFd();
    i % 10 == 0 ? file.cleanFile(rigged->events.path(1).c_str()) : file.openFd();
    usleep(100);  // or what it wrote without a lock would not meet a reader
}

void readOne(ZEB::EventFile& file, int i) { file.readRecord(1 + i % 3); }

void threads(int rounds) {
    ZEB::EventFile file(0);
    ZEB::EventFile reopened(1);
    auto& log = *rigged->measured.log;
    std::vector<std::thread> all;
    auto const begin = [&](auto action, auto& object) {
        all.emplace_back([&object, action, rounds] {
            for (int i = 0; i < rounds; ++i) action(object, i);
        });
    };
    for (int i = 0; i < 2; ++i) {
        begin(append, log);
        begin(ask, log);
        begin(readFile, file);
    }
    begin(disturb, log);
    begin(writeFile, file);
    begin(reopen, reopened);
    begin(readOne, reopened);
    for (std::thread& thread : all) thread.join();
    shared.tried = 10L * rounds;
}

// One life

void makeLogs(State& state) {
    watching = true;
    while (!rigged) {
        try {
            rigged.reset(new Rig{state});
        } catch (std::bad_alloc const&) {
            onAllocation = nullptr;
            mustThrow = false;
        }
    }
    watching = false;
}

void run(std::string const& kind, int steps) {
    if (kind == "soak") return soak(steps * 1000000L);
    if (kind == "threads") return threads(steps);
    live(steps, kind != "image");
    if (kind == "hostile") rigged->each([](auto& part) { damageAll(part); });
    if (kind == "calls") rigged->each([](auto& part) { emptyFiles(part); });
}

void end(bool reopen) {
    onCall = nullptr;
    onAllocation = nullptr;
    rigged->each([](auto& part) { part.close(); });
    require(openDescriptors() == 0, "a descriptor stays open");
    require(!leavesHidden() || failing == "unlink", "a hidden file stays");
    if (reopen) reopenAll();
    rigged.reset();
}

void print(std::string const& kind) {
    std::printf("%s\t%ld\t%ld\t", kind.c_str(), shared.tried, shared.failed);
    for (auto const& lost : shared.lost) std::printf("%ld/%ld/%ld\t", lost[0], lost[1], lost[2]);
    std::printf("\n");
}

void mayThrow() {
    if (!watching || onAllocation == nullptr) return;
    Quiet const quiet;
    onAllocation();
}

int usage() {
    std::fputs("usage: faults KIND SEED STEPS WHICH\n", stderr);
    return 2;
}

}  // namespace

[[gnu::noinline]] void* operator new(std::size_t size) {
    mayThrow();
    if (void* const block = std::malloc(size)) return block;
    throw std::bad_alloc();
}
#if !defined __SANITIZE_ADDRESS__ && !defined __SANITIZE_THREAD__  // which bring their own
extern "C" void* reallocate(void* block, std::size_t size) asm("__libc_realloc");
extern "C" void* realloc(void* block, std::size_t size) noexcept try {
    mayThrow();
    return reallocate(block, size);
} catch (std::bad_alloc const&) {
    return nullptr;
}
#endif
[[gnu::noinline]] void operator delete(void* block) noexcept { std::free(block); }
[[gnu::noinline]] void operator delete(void* block, std::size_t) noexcept { std::free(block); }

int main(int argc, char** argv) {
    if (argc != 5) return usage();
    std::string const kind = argv[1];
    std::string const which = argv[4];
    bool const image = kind == "image";
    onMachine = image || kind == "soak" || kind == "threads";
    setenv("VEK_ROOT", "/rig", 1);
    if (onMachine) makeRoot(image ? argv[4] : nullptr);
    State state{};
    state.random = static_cast<unsigned>(std::atoi(argv[2]));
    withLamps = state.random % 2 == 0;
    makesNameless = state.random % 4 == 1 || state.random % 4 == 2;
    if (which[0] == '@') replayed = which.substr(1);
    if (replayed.empty() && !image) stride = static_cast<unsigned>(std::atoi(argv[4]));
    if (stride == 0) return usage();

    if (kind == "allocations") onAllocation = failAllocation;
    makeLogs(state);
    if (kind == "cuts" || kind == "second_cuts") onCall = cut;
    if (kind == "second_cuts") cutsLeft = 2;
    if (kind == "calls") onCall = fail;
    if (image) rigged->each([](auto& part) { std::fill_n(part.held.doubt, 36, Anything); });
    rigged->each([](auto& part) { part.start(false, false); });
    run(kind, std::atoi(argv[3]));
    end(kind != "soak" && kind != "threads");
    if (isChild || image) return 0;
    if (onMachine) shared.failed += std::system("rm -r $VEK_ROOT");
    print(kind);
    return shared.failed == 0 && shared.tried > 0 ? 0 : 1;
}
