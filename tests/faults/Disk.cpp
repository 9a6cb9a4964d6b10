#include "Disk.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <vector>

namespace rig {
namespace {

struct State {
    std::map<std::string, int, std::less<>> names;
    std::map<int, std::string> nodes;
    std::map<int, long> modified;

    void apply(Change const& change) {
        auto const from = names.find(change.path);
        std::string& bytes = nodes[change.node];
        if (change.kind >= Change::Write) modified[change.node] = change.time;
        if (change.kind == Change::Link) names[change.path] = change.node;
        if (change.kind == Change::Resize) bytes.resize(change.at);
        if (change.kind == Change::Write) {
            bytes.resize(std::max(bytes.size(), change.at + change.bytes.size()));
            bytes.replace(change.at, change.bytes.size(), change.bytes);
        }
        if (change.kind == Change::Rename && from != names.end()) names[change.to] = from->second;
        bool const leaves = change.kind == Change::Rename || change.kind == Change::Unlink;
        if (leaves && from != names.end()) names.erase(from);
    }
};
struct OpenFile {
    int node;
    std::size_t offset;
};
constexpr int FirstDescriptor = 1 << 20;

State flushed, now;
std::vector<Change> pending;
std::map<int, OpenFile> files;
std::map<DIR*, std::vector<std::string>> listings;
int lastNode = 0;
int lastDescriptor = FirstDescriptor;

int failed(int error) {
    errno = error;
    return -1;
}

template <typename... Arguments>
int real(Arguments... arguments) {
    return static_cast<int>(syscall(arguments...));
}

template <typename Result, typename Argument>
Result next(char const* name, Argument argument) {
    return reinterpret_cast<Result (*)(Argument)>(dlsym(RTLD_NEXT, name))(argument);
}

#define ENTER(...)     \
    Quiet const quiet; \
    if (int const error = quiet.enter(__VA_ARGS__).error) return failed(error)

bool inMemory(char const* path) {
    return std::strncmp(path, "/rig/", 5) == 0 || std::strncmp(path, "/mnt/sysdata/", 13) == 0;
}

auto inDirectory(std::string const& path) {
    std::vector<std::string> names;
    std::string const start = path + '/';
    auto entry = now.names.lower_bound(start);
    for (; entry != now.names.end() && entry->first.rfind(start, 0) == 0; ++entry) {
        names.push_back(entry->first.substr(start.size()));
    }
    return names;
}

int openFile(char const* name, char const* path, int flags) {
    Quiet const quiet;
    auto const found = now.names.find(path);
    bool const nameless = (flags & O_TMPFILE) == O_TMPFILE;
    bool const there = found != now.names.end();
    bool const changes = (flags & (there ? O_TRUNC : O_CREAT)) != 0;
    Change change{
        Change::Link, there ? found->second : lastNode + 1, changes ? path : "", {}, 0, {}};
    if (there) change.kind = Change::Resize;
    int error = quiet.enter(name, changes ? &change : nullptr).error;
    if (error == 0 && nameless && !makesNameless) error = EOPNOTSUPP;
    if (error == 0 && there && (flags & O_EXCL) != 0) error = EEXIST;
    if (error == 0 && !there && !changes && !nameless) error = ENOENT;
    if (error != 0) return failed(error);
    if (changes) perform(change);
    lastNode = std::max(lastNode, change.node);
    files[++lastDescriptor] = {change.node, 0};
    return lastDescriptor;
}

ssize_t transfer(char const* name, int fd, void* to, void const* from, std::size_t size, off_t at) {
    Quiet const quiet;
    auto const file = files.find(fd);
    if (file == files.end()) return failed(EBADF);
    auto const begin = at == -1 ? file->second.offset : static_cast<std::size_t>(at);
    Change change{Change::Write, file->second.node, {}, {}, begin, {}};
    if (from != nullptr) change.bytes.assign(static_cast<char const*>(from), size);
    Fault const fault = quiet.enter(name, from != nullptr ? &change : nullptr, size);
    if (fault.error != 0) return failed(fault.error);
    size = std::min(size, fault.limit);
    change.bytes.resize(from != nullptr ? size : 0);
    if (from != nullptr) perform(change);
    std::string const& bytes = now.nodes[change.node];
    if (to != nullptr)
        size = bytes.copy(static_cast<char*>(to), size, std::min(begin, bytes.size()));
    if (at == -1) file->second.offset += size;
    return static_cast<ssize_t>(size);
}

int changeName(char const* name, char const* path, char const* to) {
    if (!inMemory(path) && to != nullptr) {
        return real(SYS_renameat2, AT_FDCWD, path, AT_FDCWD, to, 0);
    }
    if (!inMemory(path)) return real(SYS_unlinkat, AT_FDCWD, path, 0);
    Quiet const quiet;
    Change const change{
        to != nullptr ? Change::Rename : Change::Unlink, 0, path, to != nullptr ? to : "", 0, {}};
    bool const there = now.names.count(path) != 0;
    int const error = quiet.enter(name, there ? &change : nullptr).error;
    if (error != 0 || !there) return failed(error != 0 ? error : ENOENT);
    perform(change);
    return 0;
}

int descriptor(void* cookie) { return static_cast<int>(reinterpret_cast<std::intptr_t>(cookie)); }

}  // namespace

std::size_t openDescriptors() { return files.size() + listings.size(); }

bool leavesHidden() {
    return std::any_of(now.names.begin(), now.names.end(),
                       [](auto const& name) { return name.first.find("/.") != std::string::npos; });
}

void perform(Change change) {
    static long changes = 0;
    if (change.kind != Change::Date) change.time = ++changes / 4;  // as coarse as real ones
    now.apply(change);
    pending.push_back(change);
}

void lose(std::function<bool(std::size_t)> const& kept) {
    for (std::size_t i = 0; i < pending.size(); ++i) {
        if (kept(i)) flushed.apply(pending[i]);
    }
    now = flushed;
    pending.clear();
}

std::size_t pendingChanges() { return pending.size(); }

void swapWithFlushed() { std::swap(now, flushed); }

}  // namespace rig

using namespace rig;

extern "C" {

int open(char const* path, int flags, ...) {
    if (!inMemory(path)) return real(SYS_openat, AT_FDCWD, path, flags, 0600);
    return openFile("open", path, flags);
}

int close(int fd) {
    if (fd < FirstDescriptor) return real(SYS_close, fd);
    files.erase(fd);  // also when it fails
    ENTER("close");
    return 0;
}

ssize_t pread(int fd, void* to, std::size_t size, off_t at) {
    if (fd < FirstDescriptor) return real(SYS_pread64, fd, to, size, at);
    return transfer("pread", fd, to, nullptr, size, at);
}

ssize_t pwrite(int fd, void const* from, std::size_t size, off_t at) {
    if (fd < FirstDescriptor) return real(SYS_pwrite64, fd, from, size, at);
    return transfer("pwrite", fd, nullptr, from, size, at);
}

off_t lseek(int fd, off_t offset, int whence) noexcept {
    if (fd < FirstDescriptor) return real(SYS_lseek, fd, offset, whence);
    ENTER("lseek");
    return static_cast<off_t>(now.nodes[files[fd].node].size());
}

int fsync(int fd) {
    if (fd < FirstDescriptor) return 0;
    ENTER("fsync");
    auto const done = std::stable_partition(
        pending.begin(), pending.end(), [node = files[fd].node](Change const& change) {
            return change.node != node || change.kind < Change::Write;
        });
    std::for_each(done, pending.end(), [](Change const& change) { flushed.apply(change); });
    pending.erase(done, pending.end());
    return 0;
}

void sync() noexcept {
    Quiet const quiet;
    quiet.enter("sync");
    for (Change const& change : pending) flushed.apply(change);
    pending.clear();
    std::vector<int> used;  // what has lost its last name is forgotten
    for (auto const& name : now.names) used.push_back(name.second);
    for (auto const& file : files) used.push_back(file.second.node);
    std::sort(used.begin(), used.end());
    for (auto next = now.nodes.begin(); next != now.nodes.end();) {
        int const node = next++->first;
        if (std::binary_search(used.begin(), used.end(), node)) continue;
        for (State* state : {&flushed, &now}) state->nodes.erase(node), state->modified.erase(node);
    }
}

int futimens(int fd, timespec const times[2]) noexcept {
    if (fd < FirstDescriptor) return real(SYS_utimensat, fd, nullptr, times, 0);
    Quiet const quiet;
    Change const change{Change::Date, files[fd].node, {}, {}, 0, {}, times[1].tv_sec};
    if (int const error = quiet.enter("futimens", &change).error) return failed(error);
    perform(change);
    return 0;
}

int posix_fallocate(int fd, off_t, off_t size) {
    if (fd < FirstDescriptor) return real(SYS_fallocate, fd, 0, off_t{0}, size);
    Quiet const quiet;
    Change const change{Change::Resize, files[fd].node, {}, {}, static_cast<std::size_t>(size), {}};
    int const error = quiet.enter("posix_fallocate", &change).error;
    if (error == 0) perform(change);
    return error;
}

int unlink(char const* path) noexcept { return changeName("unlink", path, nullptr); }
int remove(char const* path) noexcept { return changeName("remove", path, nullptr); }
int rename(char const* from, char const* to) noexcept { return changeName("rename", from, to); }

int linkat(int, char const* from, int, char const* to, int flags) noexcept {
    if (!inMemory(to)) return real(SYS_linkat, AT_FDCWD, from, AT_FDCWD, to, flags);
    Quiet const quiet;
    int const node = files[std::atoi(std::strrchr(from, '/') + 1)].node;
    Change const change{Change::Link, node, to, {}, 0, {}};
    bool const there = now.names.count(to) != 0;
    int const error = quiet.enter("linkat", there ? nullptr : &change).error;
    if (error != 0 || there) return failed(error != 0 ? error : EEXIST);
    perform(change);
    return 0;
}

int stat(char const* path, struct stat* status) noexcept {
    if (!inMemory(path)) return real(SYS_newfstatat, AT_FDCWD, path, status, 0);
    ENTER("stat");
    *status = {};
    status->st_blksize = 4096;
    auto const found = now.names.find(path);
    if (found != now.names.end()) status->st_mtim.tv_sec = now.modified[found->second];
    return found != now.names.end() || !inDirectory(path).empty() ? 0 : failed(ENOENT);
}

DIR* opendir(char const* path) {
    if (!inMemory(path)) return next<DIR*>("opendir", path);
    Quiet const quiet;
    auto const names = inDirectory(path);
    int const error = quiet.enter("opendir").error;
    errno = error != 0 ? error : ENOENT;
    if (error != 0 || names.empty()) return nullptr;
    auto const handle = std::intptr_t{++lastDescriptor};
    listings[reinterpret_cast<DIR*>(handle)] = names;
    return reinterpret_cast<DIR*>(handle);
}

dirent* readdir(DIR* directory) {
    if (listings.count(directory) == 0) return next<dirent*>("readdir", directory);
    static dirent entry;
    Quiet const quiet;
    auto& names = listings[directory];
    errno = quiet.enter("readdir").error;
    if (errno != 0 || names.empty()) return nullptr;
    std::strcpy(entry.d_name, names.back().c_str());
    names.pop_back();
    return &entry;
}

int closedir(DIR* directory) {
    return listings.erase(directory) != 0 ? 0 : next<int>("closedir", directory);
}

// Streams call the system from inside the C library, so they stand on calls of
// this file; fileno() answers with the descriptor they are given here.
std::FILE* fopen(char const* path, char const* mode) {
    int const flags = *mode == 'r' ? O_RDONLY : O_WRONLY | O_CREAT | O_TRUNC;
    if (!inMemory(path)) return fdopen(open(path, flags), mode);
    int const fd = openFile("fopen", path, flags);
    if (fd == -1) return nullptr;
    cookie_io_functions_t const functions{
        [](void* file, char* to, std::size_t size) {
            return transfer("fread", descriptor(file), to, nullptr, size, -1);
        },
        [](void* file, char const* from, std::size_t size) {
            return std::max<ssize_t>(transfer("fwrite", descriptor(file), nullptr, from, size, -1),
                                     0);
        },
        nullptr, [](void* file) { return close(descriptor(file)); }};
    auto* const stream = fopencookie(reinterpret_cast<void*>(std::intptr_t{fd}), mode, functions);
    stream->_fileno = fd;
    return stream;
}

}  // extern "C"
