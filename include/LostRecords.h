#pragma once

#include <cstdint>

namespace ZEB {

// The records handed to a log since its construction that it did not store, those of calls
// that ended with an exception included.
struct LostRecords {
    std::uint64_t count;
    // The errno of the last one, 0 while there is none: what the write failed with, EIO
    // for one cut short; what opening the file failed with where none is open, EBADF after
    // close(); EMSGSIZE for a record that did not fit its slot, EBADMSG for one that left
    // its stream failed; ERANGE for a place outside the ring; EINVAL for an event while
    // !EventFile::isUsable(); ENOMEM for a failed allocation, ECANCELED for another
    // exception.
    int error;
};

}  // namespace ZEB
