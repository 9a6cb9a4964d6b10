#pragma once

#include <cstddef>
#include <functional>
#include <string>

// A program that links this replaces the system calls of the libraries under test. Paths
// below /rig and /mnt/sysdata are on a disk in memory, which knows what has been flushed;
// the others are on the machine's disk, which is never synced. While the code under test
// runs, each call and each allocation passes a hook, which may make it fail or try what
// a power cut at that point would leave.
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

// Calls that the rig itself makes while it handles one do not pass the hook.
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
