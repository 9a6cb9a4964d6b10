#pragma once

#include <cstddef>
#include <functional>
#include <string>

// The system calls of the libraries under test, taken over by the program that
// links this. What lies below /rig or /mnt/sysdata is on a disk in memory, which
// knows what has been flushed; all else is on the machine's, which is never synced.
// While the code under test runs, each call and each allocation passes a hook, which
// may let it fail or look at what a power cut would leave there.
namespace rig {

struct Change {
    enum Kind { Link, Unlink, Rename, Write, Resize, Date } kind;
    int node;
    std::string path, to;
    std::size_t at;  // Write: offset; Resize: length
    std::string bytes;
    long time = 0;  // of modification; Date: the one given
};
struct Fault {
    int error = 0;             // the call fails with it
    std::size_t limit = ~0ul;  // a transfer is cut short
};
// Name, size of a transfer, and what the call will do to the disk.
using Hook = Fault (*)(std::string const&, std::size_t, Change const*);

inline bool makesNameless = true;           // files without a name (O_TMPFILE)
inline thread_local bool watching = false;  // the code under test runs
inline Hook onCall = nullptr;
inline void (*onAllocation)() = nullptr;

// What the rig does inside a call is itself no call of the code under test.
struct Quiet {
    bool const was = watching;
    Quiet() { watching = false; }
    ~Quiet() { watching = was; }
    Fault enter(char const* name, Change const* change = nullptr, std::size_t size = 0) const {
        return was && onCall != nullptr ? onCall(name, size, change) : Fault{};
    }
};

std::size_t openDescriptors();
bool leavesHidden();  // a file whose name begins with a dot
void perform(Change change);
// The power fails: of the changes not flushed, those that kept() names survive.
void lose(std::function<bool(std::size_t)> const& kept);
std::size_t pendingChanges();
void swapWithFlushed();  // shows what is flushed, and again what is there

}  // namespace rig
