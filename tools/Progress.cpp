#include "Progress.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>

namespace ZEB::tool {

namespace {
constexpr std::chrono::milliseconds Interval{200};
}

Progress::Progress(std::int64_t total, bool quiet)
    : mTotal(std::max<std::int64_t>(total, 1)),
      mShown(!quiet && isatty(STDERR_FILENO) != 0),
      mNext(mStart + Interval) {}

Progress::~Progress() { erase(); }

void Progress::erase() {
    if (mWritten) std::fprintf(stderr, "\r\033[K");
    mWritten = false;
}

void Progress::add(std::int64_t bytes) {
    std::lock_guard const lock(mMutex);
    mDone += bytes;
    if (!mShown) return;
    Clock::time_point const now = Clock::now();
    if (now < mNext) return;
    mNext = now + Interval;
    mWritten = true;
    double const seconds = std::chrono::duration<double>(now - mStart).count();
    std::fprintf(stderr, "\r%3.0f %% of %.2f GB, %.0f MB/s\033[K",
                 std::min(100.0, 100.0 * static_cast<double>(mDone) / static_cast<double>(mTotal)),
                 static_cast<double>(mTotal) / 1e9, static_cast<double>(mDone) / 1e6 / seconds);
    std::fflush(stderr);
}

}  // namespace ZEB::tool
