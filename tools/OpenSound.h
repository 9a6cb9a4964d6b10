#pragma once

#include <optional>
#include <string>

#include "files/SlotIo.h"

namespace ZEB::tool {

// Why a file can't be used.
struct Fault {
    bool unreadable;  // as opposed to damaged
    std::string cause;
};

// Nothing when the file is too short to hold one or can't be read.
std::optional<FileHeader> headerAt(std::string const& path);

// A descriptor for reading, and slot 0's bytes, when the file passes the check
// that the log itself makes; else -1 and the fault.
int openSound(std::string const& path, FileHeader const& expected, char* slot0,
              std::optional<Fault>& fault);

}  // namespace ZEB::tool
