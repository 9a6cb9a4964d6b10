#include "util/VEKPaths.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "util/NewFile.h"
#include "util/VEKLog.h"

namespace ZEB {

namespace {

char const* root() {
    char const* const set = std::getenv("VEK_ROOT");
    return set != nullptr && *set != '\0' ? set : "./vek";
}

void resolve(char const* directory, char const* name, char* buffer, std::size_t size) {
    char const* const format = *name == '\0' ? "%s/%s" : "%s/%s/%s";
    int const length = std::snprintf(buffer, size, format, root(), directory, name);
    bool const fits = length >= 0 && static_cast<std::size_t>(length) < size;
    if (fits && std::strchr(root(), '%') == nullptr) return;
    VEKLogMsg(1, "Directory %s/%s is not usable: %s", root(), directory,
              fits ? "a '%' in its path" : "path too long");
    std::snprintf(buffer, size, format, "/dev/null", directory, name);
}

std::string pathIn(char const* directory, char const* name) {
    return std::string(root()) + '/' + directory + '/' + name;
}

bool copyBytes(int from, int to) {
    char bytes[4096];
    for (off_t at = 0;;) {
        ssize_t const size = pread(from, bytes, sizeof bytes, at);
        if (size <= 0) return size == 0;
        if (pwrite(to, bytes, static_cast<std::size_t>(size), at) != size) return false;
        at += size;
    }
}

}  // namespace

void VEKDataFile(char const* name, char* buffer, std::size_t size) {
    resolve("data", name, buffer, size);
}

void VEKBackupDataFile(char const* name, char* buffer, std::size_t size) {
    resolve("backup/data", name, buffer, size);
}

void VEKSettingsFile(char const* name, char* buffer, std::size_t size) {
    resolve("settings", name, buffer, size);
}

int SettingsFileExist(char const* name, unsigned short* /*recordCount*/,
                      unsigned short /*standard*/) {
    struct stat status {};
    return stat(pathIn("settings", name).c_str(), &status) == 0 ? 1 : 0;
}

bool GetBackupSetting(char const* name) {
    std::string const from = pathIn("backup/settings", name);
    NewFile copy(pathIn("settings", name), '.' + std::string(name));
    // O_NONBLOCK: a pipe in the file's place must not block the caller.
    int const in = open(from.c_str(), O_RDONLY | O_NONBLOCK);
    bool const copied =
        in != -1 && copy.fd() != -1 && copyBytes(in, copy.fd()) && fsync(copy.fd()) == 0;
    if (in != -1) close(in);
    return copied && copy.putInPlace();
}

}  // namespace ZEB
