#pragma once

#include <memory>
#include <utility>

#include "logs/StartUpWalk.h"

namespace ZEB {

template <class File>
FileFacts factsOf(File const& file) {
    return {file.mFileIndex, file.mFirstRecord.timeStamp().seconds()};
}

template <class File>
std::shared_ptr<File> openExisting(int index) {
    return File::FileExist(index) ? std::make_shared<File>(index) : nullptr;
}

// Opens the files that a search looks at and holds on to the last two, at one of which
// the search ends if not where it began. open(index) gives an empty pointer for a file
// that is missing.
template <class File, class Open>
class FileWindow {
  public:
    FileWindow(std::shared_ptr<File> first, Open const& open)
        : mOpen(open), mLast(std::move(first)) {}

    FileFacts operator()(int index) {
        mBefore = std::move(mLast);
        mLast = mOpen(index);
        return mLast ? factsOf(*mLast) : FileFacts{index, 0};
    }

    // An empty pointer for a file that it no longer holds.
    std::shared_ptr<File> at(int index) const {
        if (mLast && mLast->mFileIndex == index) return mLast;
        return mBefore && mBefore->mFileIndex == index ? mBefore : nullptr;
    }

  private:
    Open const& mOpen;
    std::shared_ptr<File> mBefore;
    std::shared_ptr<File> mLast;
};

}  // namespace ZEB
