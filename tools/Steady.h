#pragma once

#include <chrono>
#include <optional>
#include <thread>

namespace ZEB::tool {

// A finding on a log that is being written. look() finds something or nothing; what
// it finds counts only when it finds the same twice in a row, since a writer's
// progress looks different each time.
template <class Look>
auto steady(Look const& look, std::chrono::milliseconds pause = std::chrono::milliseconds(20))
    -> decltype(look()) {
    constexpr int MostLooks = 20;
    auto finding = look();
    for (int i = 1; finding && i < MostLooks; ++i) {
        std::this_thread::sleep_for(pause);
        auto again = look();
        if (again == finding) return finding;
        finding = std::move(again);
    }
    return std::nullopt;
}

}  // namespace ZEB::tool
