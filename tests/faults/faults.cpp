#include <sys/wait.h>

#include <cerrno>
#include <csignal>
#include <iterator>
#include <thread>
#include <vector>

#include "Rig.h"

// faults KIND SEED STEPS STRIDE: a random life of the three logs. A child is forked
// for each STRIDE-th fault of the kind, goes on from there and checks what it finds.
// Prints: kind, tried, failed, and the most records that each log lost where what had
// been written was kept, and where it was dropped.
namespace {

using namespace rig;

struct Shared {
    State state;
    long tried, failed, lost[2][3];
    char anew[400];  // the calls whose failure had a file made anew
};
auto& shared = *static_cast<Shared*>(
    mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
State own{};
std::unique_ptr<Rig> rigged;
bool withLamps = false, strict = true, isChild = false;
int cutsLeft = 1, stepsLeft = 40;
unsigned stride = 1, unit = 0;
std::string failing;
Fault failure;

bool inChild(std::string const& name, unsigned variant) {
    if (unit++ % stride != 0) return false;
    ++shared.tried;
    pid_t const pid = fork();
    if (pid == 0) {
        alarm(60);
        return isChild = true;
    }
    int status = 0;
    waitpid(pid, &status, 0);
    if (status == 0) return false;
    ++shared.failed;
    std::printf("  fault %u: %s, variant %u, status %d\n", unit - 1, name.c_str(), variant, status);
    std::fflush(stdout);
    return false;
}

void live(int steps, bool withRestore) {
    for (; steps > 0 && stepsLeft > 0; --steps, stepsLeft -= isChild) {
        rigged->step(withLamps, withRestore);
    }
}
void reopenAll() {
    rigged->each([](auto& part) { part.reopen(); });
}

// Starts over what a cut, a kill or damage left.
void recover(unsigned loss, bool placeKnown) {
    static bool dropped = false;  // by an earlier cut, too
    dropped |= loss > 0;
    long* most = shared.lost[dropped];
    rigged->each([&](auto& part) {
        *most = std::max<long>(*most, part.start(false, placeKnown));
        ++most;
    });
}

Fault cut(std::string const& name, std::size_t size, Change const* change);

[[noreturn]] void powerCut(unsigned loss, bool whole) {
    onCall = --cutsLeft > 0 ? cut : nullptr;
    strict = strict && loss == 0;
    rigged->each([&](auto& part) {
        auto const now = part.onDisk();
        swapWithFlushed();
        auto const flushed = part.onDisk();
        swapWithFlushed();
        for (int at = 0; at < part.Capacity && loss > 0; ++at) {
            bool const safe = now[at] == flushed[at];
            require(!part.Lamps || safe || part.held.doubt[at] != Sure, "an unflushed lamp record");
            if (!safe || !now[at].used()) part.held.doubt[at] = Anything;
        }
        part.held.holes |= loss > 0 || !whole;
    });
    std::size_t const one = unit * 2654435761u % std::max<std::size_t>(pendingChanges(), 1);
    lose([&](std::size_t i) {
        return loss == 0 || (loss == 2 && i != one) || (loss == 3 && i == one) ||
               (loss == 4 && (i * 2654435761u + one * 40503u) / 8 % 2 == 0);
    });
    recover(loss, strict && whole);
    onCall = nullptr;
    rigged->each([](auto& part) { part.dropBackup(); });
    live(12, false);
    reopenAll();
    std::_Exit(0);
}

Fault cut(std::string const& name, std::size_t size, Change const* change) {
    if (change == nullptr && name != "fsync" && name != "sync") return {};
    std::size_t const length = change != nullptr && size > 0 ? size : 1;
    for (std::size_t tear = 0; tear<length; tear += length> 200 ? length / 9 : 1) {
        for (unsigned loss = 0; loss < (tear == 0 ? 5 : 2); ++loss) {
            if (!inChild(name + " at byte " + std::to_string(tear), loss)) continue;
            if (tear > 0) {
                Change part = *change;
                part.bytes.resize(tear);
                perform(part);
            }
            powerCut(loss, tear == 0);
        }
    }
    return {};
}

Fault failAgain(std::string const& name, std::size_t, Change const* change) {
    if (name != failing) return {};
    rigged->each([](auto& part) { part.unsure = part.held.holes = true; });
    injected = failure.error != 0 ? failure.error : EIO;
    bool const changes = change != nullptr && (name == "fopen" || name == "unlink");
    mustReport = failure.error > EINTR && (changes || name == "open" || name == "opendir" ||
                                           name == "posix_fallocate" || name == "linkat");
    return failure;
}
Fault fail(std::string const& name, std::size_t size, Change const* change) {
    for (unsigned variant = 0; variant < (size > 1 ? 5 : 3); ++variant) {  // odd: for good
        if (!inChild(name, variant)) continue;
        bool const full = name == "pwrite" || name == "fwrite" || name == "posix_fallocate";
        failing = name;
        failure.error = full ? ENOSPC : name.find("open") != std::string::npos ? EMFILE : EIO;
        if (variant == 2) failure.error = EINTR;
        if (variant > 2) failure = {0, size / 2};
        onCall = variant % 2 == 1 ? failAgain : nullptr;
        return failAgain(name, size, change);
    }
    return {};
}
void failAllocation() {
    for (unsigned variant = 0; variant < 2 && !isChild; ++variant) {
        if (!inChild("allocation", variant)) continue;
        if (variant == 0) onAllocation = nullptr;
    }
    if (!isChild) return;
    mustThrow = true;
    injected = ENOMEM;
    throw std::bad_alloc();
}

// Starts over a file of these bytes: what is sound in it stays, what is not is made anew.
template <class Part>
void damage(Part& part, int file, std::string const& bytes) {
    part.spoil(file, bytes);
    part.settle(false);
    powerCut(0, false);
}
template <class Part>
void damageAll(Part& part) {
    part.close();
    for (int file = 0; file < part.FileCount; file += 2) {
        std::string bytes(18 + static_cast<std::size_t>(part.SlotCount * part.Size), '\0');
        int const fd = open(part.path(file).c_str(), O_RDWR);
        pread(fd, &bytes[0], bytes.size(), 0);
        close(fd);
        for (unsigned bit = 0; bit < bytes.size() * 8; ++bit) {
            std::string flipped = bytes;
            flipped[bit / 8] = static_cast<char>(flipped[bit / 8] ^ (1 << bit % 8));
            if (inChild("bit flip", bit)) damage(part, file, flipped);
        }
        for (unsigned length = 0; length < bytes.size() + 9; ++length) {
            std::string const longer = bytes + std::string(9, 'x');
            if (inChild("length", length)) damage(part, file, longer.substr(0, length));
        }
    }
    char const* const pointers[] = {
        "",     " 3\n", "x",  "1x", "+2",  "0x3",        "4",
        "\xff", "-1",   "-7", "5",  "400", "2147483647", "99999999999999999999"};
    for (unsigned i = 0; i < std::size(pointers) && part.Measured; ++i) {
        if (inChild("pointer", i)) damage(part, part.FileCount, pointers[i]);
    }
}

void killed(int rounds) {
    for (shared.tried = 0; shared.tried < rounds; ++shared.tried) {
        pid_t const pid = fork();
        for (isChild = pid == 0; isChild;) rigged->step(withLamps, false);
        usleep(static_cast<unsigned>(rand()) % 6000);
        int status = 0;
        shared.failed += kill(pid, SIGKILL) != 0 || waitpid(pid, &status, 0) != pid ||
                         !WIFSIGNALED(status) || WTERMSIG(status) != SIGKILL;
        recover(0, true);
    }
}

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
        if (shared.tried % 10000 == 0) rigged->each([](auto& part) { part.close(), part.open(); });
        if (shared.tried % (operations / 10) == 0) shared.failed += std::system(show.c_str());
    }
}

void threads(int rounds) {
    ZEB::EventFile file(0);
    auto& log = *rigged->measured.log;
    std::function<void(int)> const actions[] = {
        [&](int i) { log.writeRecord(ZEB::MeasurementRecord(ZEB::TimeStamp(1 + i), 1)); },
        [&](int i) {
            ZEB::ByteBuf reply;
            unsigned first = static_cast<unsigned>(i), count = 9;
            log.GetLogRange(reply);
            log.GetLogRecords(&first, &count, 1, reply);
        },
        [&](int i) {
            if (i % 7 == 0) log.SaveToFile(rigged->measured.path(-1).c_str(), 0, i);
            if (i % 19 == 0) log.Clear();
            if (i % 31 == 0) log.close();
            log.SetEnabled(log.GetCount() + log.GetFirst() + log.GetLostRecords().error >= 0);
        },
        [&](int i) {
            bool const four = file.readRecords(0, 4).size() == 4;
            require(four && file.readRecord(1 + i % 3).client() == 0, "read");
        },
        [&](int i) {
            file.writeRecord(ZEB::EventMsg(ZEB::TimeStamp(i), 1, 1, "written"), 1 + i % 3);
        }};
    std::vector<std::thread> all;
    for (int which : {0, 0, 1, 1, 2, 3, 3, 4}) {
        all.emplace_back([&, which] {
            for (int i = 0; i < rounds; ++i) actions[which](i);
        });
    }
    for (std::thread& thread : all) thread.join();
    shared.tried = 8L * rounds;
}

}  // namespace

[[gnu::noinline]] void* operator new(std::size_t size) {
    if (rig::watching && rig::onAllocation != nullptr) {
        rig::Quiet const quiet;
        rig::onAllocation();
    }
    if (void* const block = std::malloc(size)) return block;
    throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* block) noexcept { std::free(block); }
[[gnu::noinline]] void operator delete(void* block, std::size_t) noexcept { std::free(block); }

int main(int argc, char** argv) {
    if (argc != 5) return 2;
    std::string const kind = argv[1];
    bool const onMachine =
        kind == "kills" || kind == "soak" || kind == "threads" || kind == "image";
    setenv("VEK_ROOT", "/rig", 1);
    if (onMachine) makeRoot(kind == "image" ? argv[4] : nullptr);
    State& state = kind == "kills" ? shared.state : own;
    state.random = static_cast<unsigned>(std::atoi(argv[2]));
    withLamps = state.random % 2 == 0;
    makesNameless = state.random % 4 == 1 || state.random % 4 == 2;
    int const steps = std::atoi(argv[3]);
    stride = static_cast<unsigned>(std::atoi(argv[4]));
    onAllocation = kind == "allocations" ? failAllocation : nullptr;
    while (!rigged) try {
            watching = true;
            rigged.reset(new Rig{state});
        } catch (std::bad_alloc const&) {
            onAllocation = nullptr;
            mustThrow = false;
        }
    watching = false;
    cutsLeft = kind == "second_cuts" ? 2 : 1;
    onCall = kind == "cuts" || kind == "second_cuts" ? cut : kind == "calls" ? fail : nullptr;
    if (kind == "image")
        rigged->each([](auto& part) { std::fill_n(part.held.doubt, 36, Anything); });
    rigged->each([](auto& part) { part.start(false, false); });
    if (kind == "kills") killed(steps);
    if (kind == "soak") soak(steps * 1000000L);
    if (kind == "threads") threads(steps);
    if (!onMachine || kind == "image") live(steps, !onMachine);
    if (kind == "hostile") rigged->each([](auto& part) { damageAll(part); });
    if (kind == "calls") {
        rigged->each([](auto& part) {
            part.close();
            for (int file = 0; file < part.FileCount; ++file) part.spoil(file, "");
            part.settle(false);
            part.start(false, false);
        });
    }
    onCall = nullptr;
    onAllocation = nullptr;
    rigged->each([](auto& part) { part.close(); });
    require(openDescriptors() == 0, "a descriptor stays open");
    if (anew && std::strstr(shared.anew, failing.c_str()) == nullptr) {
        std::strcat(std::strcat(shared.anew, " "), failing.c_str());
    }
    if (kind != "soak" && kind != "threads") reopenAll();
    rigged.reset();
    if (isChild || kind == "image") return 0;
    if (onMachine) shared.failed += std::system("rm -r $VEK_ROOT");
    std::printf("%s\t%ld\t%ld\t", argv[1], shared.tried, shared.failed);
    for (auto const& lost : shared.lost) std::printf("%ld/%ld/%ld\t", lost[0], lost[1], lost[2]);
    std::printf("%s\n", shared.anew);
    return shared.failed == 0 ? 0 : 1;
}
