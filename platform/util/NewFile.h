#pragma once

#include <string>

namespace ZEB {

// A file that gets its name when it is whole. Until then it has none, so that a
// killed process leaves nothing; where the file system can't do that, or there is no
// /proc, it has a hidden one beside its place. A hidden file that a killed process
// left stays: none can tell whether it belongs to a process in another container.
class [[gnu::visibility("hidden")]] NewFile {
  public:
    // path: where it is to stand; hidden: begins the hidden name. Mode 0600.
    NewFile(std::string const& path, std::string const& hidden);
    ~NewFile();
    NewFile(NewFile const&) = delete;
    NewFile& operator=(NewFile const&) = delete;

    int fd() const { return mFd; }  // -1 when it can't be made, and errno says why

    // Replaces what stands there; false, and errno, when it can't.
    bool putInPlace();

  private:
    template <typename Claim>
    bool claimHiddenName(Claim claim);

    std::string mPath;
    std::string mHiddenStart;
    std::string mHidden;  // empty while the file has no name
    int mFd = -1;
};

}  // namespace ZEB
