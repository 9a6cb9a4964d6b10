#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include SDK_HEADER
#include "msgclasses/ByteStream.h"
#include "util/VEKPaths.h"

namespace ZEB {

namespace fs = std::filesystem;

// Calls that tests take over, and the length of the file that fsync() flushed last.
inline int syncs = 0, fsyncs = 0, cacheDrops = 0;
inline std::int64_t flushedSize = -1;

inline std::string const CookieStart = "VEK KIB ";  // cookies without their last two letters

template <typename T>
std::string bytesOf(T value) {
    return {reinterpret_cast<char const*>(&value), sizeof value};
}
inline std::string wire(VEKSerializeable const& record) {
    std::ostringstream out;
    record.serialize(out);
    return out.str();
}
template <class File, class Record>
std::string slotOf(Record const& record) {
    std::string bytes = wire(record);
    bytes.resize(File::RecordSize);
    return bytes;
}
inline std::string headerOf(std::string const& kind, int recordSize, int count, int version = 1) {
    return CookieStart + kind + std::string(2, '\0') +
           bytesOf(static_cast<std::uint16_t>(version)) +
           bytesOf(static_cast<std::uint16_t>(recordSize)) +
           bytesOf(static_cast<std::uint16_t>(count));
}

inline Var request(std::int32_t first, std::int32_t count, std::string const& client = "") {
    return request(bytesOf(first) + bytesOf(count) + client);
}

// Reads and writes a whole file.
inline std::string contents(fs::path const& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}
inline void write(fs::path const& path, std::string const& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}
// size bytes, sparse, with a header and some slots.
template <class Record>
void makeSlotFile(fs::path const& path, std::string const& header, std::uintmax_t size,
                  std::vector<std::pair<int, Record>> const& slots) {
    write(path, header);
    fs::resize_file(path, size);
    std::fstream out(path, std::ios::in | std::ios::out | std::ios::binary);
    std::uint16_t recordSize = 0;
    std::memcpy(&recordSize, header.data() + 14, sizeof recordSize);
    for (auto const& [slot, record] : slots) {
        out.seekp(18 + std::streamoff{slot} * recordSize);
        out << wire(record);
    }
}

// What a path function of the platform answers.
template <typename Function>
fs::path askedOf(Function pathFunction, char const* name = "") {
    char path[4096];
    pathFunction(name, path, sizeof path);
    return path;
}

// An instrument with empty directories of its own.
class Instrument : public testing::Test {
  protected:
    Instrument() {
        for (fs::path const& path : {data, settings, backup, fs::path(backupSettings(root))}) {
            fs::create_directories(path);
        }
    }
    ~Instrument() override {
        fs::remove_all(root);
        EXPECT_EQ(openDescriptors(), descriptors) << "a descriptor stays open";
    }
    static std::ptrdiff_t openDescriptors() {
        return std::distance(fs::directory_iterator("/proc/self/fd"), {});
    }

    // A log's range, and its replies to requests for all of these records.
    template <class Log>
    static std::pair<std::uint32_t, std::uint32_t> rangeOf(Log& log) {
        Reply reply;
        log.GetLogRange(reply);
        std::uint32_t fields[2];
        std::memcpy(fields, reply.data(), sizeof fields);
        return {fields[0], fields[1]};
    }
    template <class Log>
    static std::vector<std::string> fetch(Log& log, unsigned first, unsigned count,
                                          unsigned short client = 0) {
        std::vector<std::string> replies;
        while (count != 0) {
            Reply reply;
            log.GetLogRecords(&first, &count, client, reply);
            replies.push_back(contents(reply));
        }
        Reply none;
        log.GetLogRecords(&first, &count, client, none);
        EXPECT_EQ(contents(none), "");
        return replies;
    }
    // The record times of a reply without a client.
    template <class Record>
    static std::vector<int> timesOf(std::string const& reply) {
        std::vector<int> times;
        std::size_t const size = wire(Record()).size();
        for (std::size_t at = 8; at < reply.size(); at += size) {
            std::istringstream in(reply.substr(at, size));
            Record record;
            record.deserialize(in);
            times.push_back(record.timeStamp().seconds());
        }
        return times;
    }
    template <typename Action>
    static std::string messagesOf(Action action) {
        testing::internal::CaptureStderr();
        action();
        return testing::internal::GetCapturedStderr();
    }

    std::ptrdiff_t const descriptors = openDescriptors();
    fs::path const root = [] {
        char name[] = "/tmp/vekXXXXXX";
        useRoot(mkdtemp(name));
        return fs::path(name);
    }();
    fs::path const data = askedOf(VEKDataFile);
    fs::path const settings = askedOf(VEKSettingsFile);
    fs::path const backup = askedOf(VEKBackupDataFile);
};

}  // namespace ZEB
