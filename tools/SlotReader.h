#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>

#include "LogFile.h"
#include "Progress.h"
#include "files/SlotStream.h"

namespace ZEB::tool {

enum class Order { OldestFirst, NewestFirst };

constexpr std::size_t LargeBlock = 1 << 17;

// Reads runs of slots in large blocks and hands them over one by one, used or not.
template <class Kind>
class SlotReader {
    using Record = typename Kind::Record;
    using File = LogFile<Kind>;

  public:
    explicit SlotReader(Progress& progress, std::size_t blockSize = LargeBlock)
        : mProgress(progress), mBlockSize(blockSize), mBytes(new char[blockSize]) {}

    void begin(std::shared_ptr<File const> file, int first, int count,
               Order order = Order::OldestFirst) {
        mFile = std::move(file);
        mOrder = order;
        mLeftFirst = first;
        mLeftEnd = first + count;
        mCount = mDone = 0;
    }

    // On to the next slot; false behind the last. Throws CantRead when a block can't
    // be read, and then goes on behind it.
    bool next() {
        if (mDone == mCount && !load()) return false;
        int const place = mOrder == Order::OldestFirst ? mDone : mCount - 1 - mDone;
        ++mDone;
        mSlot = mBlockFirst + place;
        mRecord.deserialize(mStream.over(
            mBytes.get() + static_cast<std::size_t>(place) * File::RecordSize, File::RecordSize));
        return true;
    }

    int slot() const { return mSlot; }
    Record const& record() const { return mRecord; }

  private:
    bool load() {
        mCount = mDone = 0;
        int const count =
            std::min(mLeftEnd - mLeftFirst, static_cast<int>(mBlockSize / File::RecordSize));
        if (count <= 0) return false;
        bool const forward = mOrder == Order::OldestFirst;
        mBlockFirst = forward ? mLeftFirst : mLeftEnd - count;
        (forward ? mLeftFirst : mLeftEnd) += forward ? count : -count;
        mFile->readBytes(mBlockFirst, count, mBytes.get());
        mProgress.add(std::int64_t{count} * File::RecordSize);
        mCount = count;
        return true;
    }

    Progress& mProgress;
    std::size_t mBlockSize;
    std::unique_ptr<char[]> mBytes;
    SlotStream& mStream = SlotStream::ofThread();
    std::shared_ptr<File const> mFile;
    Order mOrder = Order::OldestFirst;
    int mLeftFirst = 0;  // the slots that are still to be loaded
    int mLeftEnd = 0;
    int mBlockFirst = 0;
    int mCount = 0;  // slots of the block, and how many were handed over
    int mDone = 0;
    int mSlot = 0;
    Record mRecord;
};

}  // namespace ZEB::tool
