#pragma once

namespace ZEB {

// The measurement log's pointer: a small file that holds the index of the file being
// written, as decimal text.

bool readPointer(char const* path, int* fileIndex);

// Why a pointer is written.
enum class PointerWrite {
    ForMove,  // the named file is about to be begun
    AtStart   // it may have been begun long ago
};

// Flushed at once, since opening it has emptied it; failures are reported. Written for a
// move it bears the time of the move, at a start the year 1970: then what was written into
// its file since the move to it is never older.
void writePointer(char const* path, int fileIndex, PointerWrite reason);

// Whether file was modified since the pointer was written for a move to it; true where
// that can't be told.
bool modifiedSincePointer(char const* file, char const* pointer);

}  // namespace ZEB
