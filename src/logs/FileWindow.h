#pragma once

#include <memory>
#include <utility>

#include "logs/StartUpWalk.h"

namespace ZEB {

template <class File>
FileFacts factsOf(File const& file) {
    return {file.mFileIndex, file.mFirstRecord.timeStamp().seconds()};
}

// An empty pointer for a missing file; an unsound one is made again.
template <class File>
std::shared_ptr<File> openUnlessMissing(int index) {
    return File::FileExist(index) ? std::make_shared<File>(index) : nullptr;
}

// Opens the files that a search looks at and keeps the last two: the search ends at one of
// them, or where it began. open(index) gives an empty pointer for a missing file.
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

    // An empty pointer for a file that is not one of the two.
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
