#include "Files.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace bench {

namespace fs = std::filesystem;

namespace {
fs::path data;
}

void useRoot(std::string const& root) {
    fs::remove_all(root);
    for (char const* name : {"data", "settings", "backup/data", "backup/settings"}) {
        fs::create_directories(fs::path(root) / name);
    }
    data = fs::path(root) / "data";
    setenv("VEK_ROOT", root.c_str(), 1);
    require(dataPath("measurement_log399.vek").size() < 100, "a shorter directory");
}

std::string dataPath(std::string const& name) { return data / name; }

std::string path(ZEB::EventFile const*, int file) {
    return dataPath("event_log-1-2-7#" + std::to_string(file) + ".vek");
}

std::string path(ZEB::MeasurementFile const*, int file) {
    return dataPath("measurement_log" + std::to_string(file) + ".vek");
}

void emptyData() {
    for (auto const& entry : fs::directory_iterator(data)) fs::remove_all(entry);
}

void require(bool done, char const* what) {
    if (done) return;
    std::perror(what);
    std::exit(2);
}

Fd makeAllocated(std::string const& path, std::int64_t size) {
    Fd fd(open(path.c_str(), O_RDWR | O_CREAT | O_EXCL, 0600));
    require(posix_fallocate(fd, 0, size) == 0, "posix_fallocate");
    return fd;
}

}  // namespace bench
