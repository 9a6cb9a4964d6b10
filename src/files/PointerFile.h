#pragma once

namespace ZEB {

// The measurement log's pointer: a small file that holds the index of the file being
// written, as decimal text.

// False when there is no number to read.
bool readPointer(char const* path, int* fileIndex);

// Why a pointer is written.
enum class PointerWrite {
    ForMove,  // the log is about to begin the named file
    AtStart   // the named file may have been begun long ago
};

// Writes the pointer and flushes it at once, since opening it has emptied it. Failures are
// reported. A pointer written for a move keeps the time of the move as its time of
// modification; one written at a start gets 1970. So a file that was written to after the
// move to it is not older than its pointer, unless the clock was set back.
void writePointer(char const* path, int fileIndex, PointerWrite reason);

// Whether file was modified at or after the time of the pointer; true when the times can't be
// read.
bool modifiedSincePointer(char const* file, char const* pointer);

}  // namespace ZEB
