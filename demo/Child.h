#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace ZEB::demo {

// Runs action in a process of its own, as one run of the instrument. Ends this
// process when that one fails.
template <typename Action>
void inOneRun(Action action) {
    std::fflush(nullptr);
    pid_t const child = fork();
    if (child == 0) {
        action();
        std::fflush(nullptr);
        _exit(0);
    }
    int status = 0;
    if (child == -1 || waitpid(child, &status, 0) != child || status != 0) std::exit(1);
}

inline void require(bool condition, char const* what) {
    if (condition) return;
    std::fprintf(stderr, "demo: %s\n", what);
    std::_Exit(1);
}

}  // namespace ZEB::demo
