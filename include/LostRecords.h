#pragma once

#include <cstdint>

namespace ZEB {

// The records that a log was given since its construction, while writing was on, and did
// not store, including those of calls that ended with an exception.
struct LostRecords {
    std::uint64_t count;
    // The errno of the last one, 0 while there is none: that of the write, or EIO for a
    // short write; without an open file that of its opening, or EBADF after close();
    // EMSGSIZE for a record that did not fit its slot, EBADMSG for one that left its stream
    // failed; ERANGE for a place outside the ring; EINVAL for an event while
    // !EventFile::isUsable(); ENOMEM for a failed allocation, ECANCELED for another
    // exception.
    int error;
};

}  // namespace ZEB
