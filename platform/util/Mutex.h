#pragma once

#include <mutex>

namespace ZEB {

// Not recursive.
class Mutex {
  public:
    void lock() { mMutex.lock(); }
    void unlock() { mMutex.unlock(); }

  private:
    std::mutex mMutex;
};

}  // namespace ZEB
