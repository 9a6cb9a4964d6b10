#pragma once

#include <cstdint>
#include <string>

namespace ZEB {

// Makes new files of full size, zero-filled and really allocated, so that a full
// disk shows when a file is made and not in the middle of a record.
class FileCreator {
  public:
    // name: begins the hidden name that a file can need for a while; directory: where
    // files usually go, not needed here; fileSize: bytes.
    FileCreator(char const* name, char const* directory, std::int64_t fileSize);

    // Puts a new file at path, replacing what stands there, or returns false and
    // leaves it. It gets its name when it is whole. A process killed in here leaves
    // nothing, or, where a file stood at path or the file system makes none without
    // a name, a hidden file beside it (name, a dot, a number): remove it while no
    // process uses the directory. Not flushed: a power cut may take the new file back.
    bool GetNewFile(char const* path);

  private:
    std::string mName;
    std::int64_t mFileSize;
};

}  // namespace ZEB
