#pragma once

#include <algorithm>
#include <cstdio>
#include <functional>
#include <stdexcept>
#include <string>
#include <utility>

namespace ZEB::tool {

enum ExitCode { Sound = 0, Damage = 1, Usage = 2, Unreadable = 3 };

// Ends the command; the text tells what could not be read.
struct CantRead : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct WrongUsage : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The exit code that the command has come to so far: the worst of them stays.
class Status {
  public:
    void note(ExitCode code) { mCode = std::max(mCode, code); }
    void complain(ExitCode code, std::string const& what) {
        std::fprintf(stderr, "veklogs: %s\n", what.c_str());
        note(code);
        if (mListener) mListener(what);
    }
    ExitCode code() const { return mCode; }

    // Hears all complaints from now on, too.
    void setListener(std::function<void(std::string const&)> listener) {
        mListener = std::move(listener);
    }

  private:
    ExitCode mCode = Sound;
    std::function<void(std::string const&)> mListener;
};

}  // namespace ZEB::tool
