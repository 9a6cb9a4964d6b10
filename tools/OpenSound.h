#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "files/SlotIo.h"

namespace ZEB::tool {

// Why a file can't be used.
struct Fault {
    bool unreadable;  // as opposed to damaged
    std::string cause;
    bool isNew = false;  // no header yet: it may be in the making
};

// Nothing when the file is too short to hold one or can't be read.
std::optional<FileHeader> headerAt(std::string const& path);

// A descriptor for reading, and slot 0's bytes, when the file passes the check
// that the log itself makes; else -1 and the fault.
int openSound(std::string const& path, FileHeader const& expected, char* slot0,
              std::optional<Fault>& fault);

// A descriptor for reading, and slot 0's bytes, whatever the header says; -1 when
// there is no whole slot.
int openUnfit(std::string const& path, std::uint16_t recordSize, char* slot0);

// How many slots of the file at path are there whole.
int slotsIn(std::string const& path, std::uint16_t recordSize);

}  // namespace ZEB::tool
