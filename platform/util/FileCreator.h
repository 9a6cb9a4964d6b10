#pragma once

#include <cstdint>
#include <string>

namespace ZEB {

// Makes new files of full size, filled with zeros and really allocated, so that a
// full disk shows when a file is made and not in the middle of a record.
class FileCreator {
  public:
    // name: how the hidden name begins that a new file may need for a while; directory:
    // where the files go, not used here; fileSize: in bytes.
    FileCreator(char const* name, char const* directory, std::int64_t fileSize);

    // Puts a new file at path, replacing what is there, or returns false and leaves
    // that alone. The file gets its name when it is whole. A process killed in here
    // can leave a hidden file (name, a dot, a number) in the directory of path, if path
    // was taken, there is no /proc or the file system makes no files without a name; remove
    // it while no process uses the directory. The new file is not flushed.
    bool GetNewFile(char const* path);

  private:
    std::string mName;
    std::int64_t mFileSize;
};

}  // namespace ZEB
