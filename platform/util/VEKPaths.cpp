#include "util/VEKPaths.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <system_error>

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

bool flush(char const* path) {
    int const fd = open(path, O_RDONLY);
    bool const flushed = fd != -1 && fsync(fd) == 0;
    if (fd != -1) close(fd);
    return flushed;
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
    std::error_code failed;
    return std::filesystem::exists(std::string(root()) + "/settings/" + name, failed) ? 1 : 0;
}

bool GetBackupSetting(char const* name) {
    namespace fs = std::filesystem;
    fs::path const from = std::string(root()) + "/backup/settings/" + name;
    fs::path const to = std::string(root()) + "/settings/" + name;
    fs::path const hidden = std::string(root()) + "/settings/." + name;
    std::error_code failed;
    fs::copy_file(from, hidden, fs::copy_options::overwrite_existing, failed);
    if (failed || !flush(hidden.c_str())) return false;
    fs::rename(hidden, to, failed);  // never half copied under its own name
    return !failed;
}

}  // namespace ZEB
