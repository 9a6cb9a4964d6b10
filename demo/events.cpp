#include <sys/mman.h>

#include <csignal>
#include <cstdint>
#include <ctime>
#include <fstream>
#include <string>
#include <vector>

#include "BasicEventLog.h"
#include "Child.h"
#include "Demo.h"

namespace ZEB::demo {

namespace {

// "2026-11-16 11:59:03 status installed bash:amd64 5.2": the time, taken as UTC,
// and the rest, whose first word makes the code and the severity.
EventMsg parseLine(std::string const& line) {
    std::tm time{};
    char const* const rest = strptime(line.c_str(), "%Y-%m-%d %H:%M:%S ", &time);
    require(rest != nullptr, "an input line without a time");
    std::string const text = rest;
    std::uint16_t const code = text.rfind("status", 0) == 0    ? 1
                               : text.rfind("startup", 0) == 0 ? 2
                                                               : 3;
    return {TimeStamp(static_cast<std::int32_t>(timegm(&time))), code, code, text};
}

std::vector<EventMsg> readInput(char const* path) {
    std::vector<EventMsg> events;
    std::ifstream in(path);
    for (std::string line; std::getline(in, line);) events.push_back(parseLine(line));
    require(!events.empty(), "no input");
    return events;
}

std::pair<std::uint32_t, std::uint32_t> rangeOf(BasicEventLog& log) {
    ByteBuf reply;
    log.GetLogRange(reply);
    std::uint32_t range[2];
    std::memcpy(range, reply.data(), sizeof range);
    return {range[0], range[1]};
}

// Continues where the log says that the last run stopped, up to end.
std::uint32_t writeOn(std::vector<EventMsg> const& events, std::size_t end,
                      volatile std::uint32_t* written) {
    BasicEventLog log;
    log.SetEnabled(true);
    std::uint32_t const start = rangeOf(log).second;
    for (std::size_t i = start; i < end; ++i) {
        log.writeRecord(events[i]);
        *written = static_cast<std::uint32_t>(i + 1);
    }
    require(log.GetLostRecords().count == 0, "an event was not stored");
    return start;
}

// The last quarter is left to the next run, however late the kill comes.
void killInTheMiddle(std::vector<EventMsg> const& events, volatile std::uint32_t* written) {
    std::fflush(nullptr);
    pid_t const writer = fork();
    if (writer == 0) {
        writeOn(events, events.size() - events.size() / 4, written);
        for (;;) pause();
    }
    int status = 0;
    while (*written < events.size() / 2) {
        require(waitpid(writer, &status, WNOHANG) == 0, "the writer ended early");
    }
    kill(writer, SIGKILL);
    require(waitpid(writer, &status, 0) == writer && WIFSIGNALED(status), "the writer ended early");
    std::printf("  killed with SIGKILL after %u of %zu appends\n", unsigned{*written},
                events.size());
}

void fetchAll(char const* repliesPath) {
    BasicEventLog log;
    auto const [first, count] = rangeOf(log);
    std::uint32_t const wanted[] = {first, count};
    unsigned int cursor = 0;
    unsigned short client = 0;
    Var const request(ByteBuf(reinterpret_cast<char const*>(wanted), sizeof wanted));
    unsigned int left = log.SetupGetLogRecordsRange(request, &cursor, &client);
    std::ofstream out(repliesPath, std::ios::binary);
    int replies = 0;
    while (left > 0) {
        ByteBuf reply;
        log.GetLogRecords(&cursor, &left, client, reply);
        out.write(reply.data(), static_cast<std::streamsize>(reply.size()));
        ++replies;
    }
    std::printf("  fetched %u events in %d replies\n", count, replies);
}

}  // namespace

void events(char const* inputPath, char const* repliesPath) {
    std::vector<EventMsg> const input = readInput(inputPath);
    auto* const written = static_cast<std::uint32_t*>(mmap(
        nullptr, sizeof(std::uint32_t), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    killInTheMiddle(input, written);
    std::uint32_t const before = *written;
    inOneRun([&] {
        std::uint32_t const start = writeOn(input, input.size(), written);
        std::printf("  started again: the log holds %u and continues there\n", start);
        require(start >= before, "a record whose append had returned is missing");
    });
    inOneRun([&] { fetchAll(repliesPath); });
}

}  // namespace ZEB::demo
