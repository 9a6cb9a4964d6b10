#include <cstdint>
#include <ctime>
#include <filesystem>
#include <vector>

#include "BasicLightSourceLog.h"
#include "Child.h"
#include "Demo.h"

namespace ZEB::demo {

namespace {

namespace fs = std::filesystem;

struct Lamp {
    std::int32_t key;
    std::uint64_t minutes;
};

LightSourceRecord recordOf(Lamp lamp) {
    return {TimeStamp(static_cast<std::int32_t>(std::time(nullptr))), 1, lamp.key,
            60000 * lamp.minutes, 1};
}

// Prints what the log holds and compares it with what it should hold.
void show(char const* title, std::vector<Lamp> const& expected) {
    BasicLightSourceLog log;
    std::printf("  %s\n  %12s%12s\n", title, "lamp", "minutes");
    for (unsigned int i = 0; i < expected.size(); ++i) {
        LightSourceRecord const record = log.getRecord(i);
        std::uint64_t const minutes = record.burningTime() / 60000;
        std::printf("  %12d%12u\n", record.key(), static_cast<unsigned>(minutes));
        require(
            record.isValid() && record.key() == expected[i].key && minutes == expected[i].minutes,
            "a lamp record is wrong");
    }
    auto const next = static_cast<unsigned int>(expected.size());
    require(!log.getRecord(next).isValid(), "there is one lamp record too many");
}

// An archive is read as the lamp file of another instrument.
void showArchive(std::vector<Lamp> const& expected) {
    fs::path const root = std::getenv("VEK_ROOT");
    fs::path const other = root / "archive";
    fs::create_directories(other / "settings");
    for (auto const& entry : fs::directory_iterator(root / "settings")) {
        std::string const name = entry.path().filename();
        auto const dash = name.rfind(".vek-");
        if (dash == std::string::npos) continue;
        fs::copy_file(entry, other / "settings" / name.substr(0, dash + 4));
        setenv("VEK_ROOT", other.c_str(), 1);
        show(("archive " + name).c_str(), expected);
        return;
    }
    require(false, "there is no archive");
}

}  // namespace

void lamps() {
    inOneRun([] {
        BasicLightSourceLog log;
        for (std::int32_t key = 1; key <= 4; ++key) log.newRecord(recordOf({key, 100}));
        for (std::uint64_t minutes : {1U, 2U, 3U}) {
            require(log.editRecord(recordOf({5, minutes})), "a lamp record could not be edited");
        }
        require(log.GetLostRecords().count == 0, "a lamp record was not stored");
    });
    inOneRun([] {
        BasicLightSourceLog log;  // is at lamp 5 again
        log.newRecord(recordOf({5, 60}));
        require(log.editRecord(recordOf({6, 1})), "a lamp record could not be edited");
    });
    std::vector<Lamp> const before{{1, 100}, {2, 100}, {3, 100}, {4, 100}, {5, 60}, {6, 1}};
    inOneRun([&] { show("after a restart", before); });
    inOneRun([] {
        BasicLightSourceLog log;
        log.Clear();
        log.newRecord(recordOf({7, 5}));
    });
    inOneRun([&] { showArchive(before); });
    inOneRun([] { show("the new file", {{7, 5}}); });
}

}  // namespace ZEB::demo
