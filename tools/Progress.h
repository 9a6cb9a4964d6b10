#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>

namespace ZEB::tool {

// A line on standard error that says how far the reading has come; only on a
// terminal, and only when it takes long enough to be read.
class Progress {
  public:
    // total: bytes to read. quiet: never show it, since records go to the same
    // terminal.
    explicit Progress(std::int64_t total, bool quiet = false);
    ~Progress();
    Progress(Progress const&) = delete;
    Progress& operator=(Progress const&) = delete;

    void add(std::int64_t bytes);  // from any thread
    void erase();

  private:
    using Clock = std::chrono::steady_clock;

    std::mutex mMutex;
    std::int64_t mTotal;
    std::int64_t mDone = 0;
    bool mShown;
    bool mWritten = false;
    Clock::time_point mStart = Clock::now();
    Clock::time_point mNext;
};

}  // namespace ZEB::tool
