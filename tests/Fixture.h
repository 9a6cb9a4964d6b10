#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "msgclasses/ByteStream.h"
#include "msgclasses/EventMsg.h"
#include "msgclasses/LightSourceRecord.h"
#include "msgclasses/MeasurementRecord.h"
#include "msgclasses/Var.h"

namespace ZEB {

namespace fs = std::filesystem;

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
inline std::string headerOf(std::string const& kind, int recordSize, int count, int version = 1) {
    return CookieStart + kind + std::string(2, '\0') +
           bytesOf(static_cast<std::uint16_t>(version)) +
           bytesOf(static_cast<std::uint16_t>(recordSize)) +
           bytesOf(static_cast<std::uint16_t>(count));
}

inline EventMsg event(int time, int code = 1) {
    return {TimeStamp(time), static_cast<std::uint16_t>(code), 0, std::to_string(time)};
}
inline LightSourceRecord lamp(int time, int key) { return {TimeStamp(time), 1, key}; }
inline MeasurementRecord measurement(int time) { return {TimeStamp(time), 1}; }

inline Var request(std::string const& bytes) { return Var(ByteBuf(bytes.data(), bytes.size())); }
inline Var request(std::int32_t first, std::int32_t count, std::string const& client = "") {
    return request(bytesOf(first) + bytesOf(count) + client);
}

// A file read from and written to as a whole, whatever state is to be made.
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
    for (auto const& [slot, record] : slots) {
        std::string const bytes = wire(record);
        out.seekp(static_cast<std::streamoff>(18 + bytes.size() * static_cast<unsigned>(slot)));
        out << bytes;
    }
}

// An instrument with empty directories of its own.
class Instrument : public testing::Test {
  protected:
    Instrument() {
        setenv("VEK_ROOT", root.c_str(), 1);
        setenv("VEK_LOG_LEVEL", "2", 1);
        for (char const* name : {"data", "settings", "backup/data", "backup/settings"}) {
            fs::create_directories(root / name);
        }
    }
    ~Instrument() override { fs::remove_all(root); }

    // What one log answers: its range, and each reply's records until none is wanted.
    template <class Log>
    static std::pair<std::uint32_t, std::uint32_t> rangeOf(Log& log) {
        ByteBuf reply;
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
            ByteBuf reply;
            log.GetLogRecords(&first, &count, client, reply);
            replies.emplace_back(reply.data(), reply.size());
        }
        return replies;
    }
    // The record times of a reply without a client.
    static std::vector<int> timesOf(std::string const& reply, std::size_t recordSize) {
        std::vector<int> times;
        for (std::size_t at = 8; at < reply.size(); at += recordSize) {
            times.emplace_back();
            std::memcpy(&times.back(), reply.data() + at, sizeof(int));
        }
        return times;
    }
    template <typename Action>
    static std::string messagesOf(Action action) {
        testing::internal::CaptureStderr();
        action();
        return testing::internal::GetCapturedStderr();
    }

    fs::path const root = [] {
        char name[] = "/tmp/vekXXXXXX";
        return fs::path(mkdtemp(name));
    }();
    fs::path const data = root / "data";
    fs::path const settings = root / "settings";
    fs::path const backup = root / "backup/data";
};

}  // namespace ZEB
