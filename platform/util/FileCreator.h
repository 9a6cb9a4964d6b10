#pragma once

#include <cstdint>
#include <string>

namespace ZEB {

// Makes new files of full size, zero-filled and really allocated, so that a full
// disk shows when a file is made and not in the middle of a record.
class FileCreator {
  public:
    // name: begins the hidden name under which a file is made; directory: where
    // files usually go; fileSize: bytes. Removes from directory what processes that
    // are no more left half made.
    FileCreator(char const* name, char const* directory, std::int64_t fileSize);

    // Puts a new file at path, replacing what stands there, or returns false and
    // leaves it. The file is made beside path and renamed, so that nobody ever
    // sees it half made. Not flushed: a power cut may take the new file back.
    bool GetNewFile(char const* path);

  private:
    std::string mName;
    std::string mDirectory;
    std::int64_t mFileSize;
};

}  // namespace ZEB
