#pragma once

#include <string>

namespace ZEB {

// A file that gets its name when it is whole. Until then it has none, so that a
// killed process leaves nothing. Where the file system can't do that, or there is no
// /proc, it has a hidden name in the same directory; so it has for a moment where it
// replaces a file.
class [[gnu::visibility("hidden")]] NewFile {
  public:
    // path: the file's name in the end; hidden: how a hidden name begins. Mode 0600.
    NewFile(std::string const& path, std::string const& hidden);
    ~NewFile();
    NewFile(NewFile const&) = delete;
    NewFile& operator=(NewFile const&) = delete;

    int fd() const { return mFd; }  // -1 when it could not be made; errno says why

    // Gives the file its name, replacing what has it. False sets errno.
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
