#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <istream>
#include <memory>
#include <streambuf>
#include <utility>

#include "LogFile.h"
#include "Progress.h"
#include "files/StreamFormat.h"

namespace ZEB::tool {

// What records are read from, one slot after the other. Each finds the stream over its
// slot and without errors, but what one of them did to its format stays for the rest of
// the block. With the library's stream, which looks at that too, verify takes a fifth
// longer.
template <std::size_t Size>
class BlockStream {
  public:
    void beginBlock() { mFormat.restore(mStream); }
    std::istream& over(char* slot) {
        mBuffer.standOver(slot);
        if (!mStream.good()) mStream.clear();
        return mStream;
    }

  private:
    class Buffer final : public std::streambuf {
      public:
        void standOver(char* slot) { setg(slot, slot, slot + Size); }

      protected:
        std::streamsize xsgetn(char* to, std::streamsize size) override {
            if (size != Size || gptr() != eback()) return std::streambuf::xsgetn(to, size);
            std::memcpy(to, gptr(), Size);
            gbump(Size);
            return Size;
        }
    };

    Buffer mBuffer;
    std::istream mStream{&mBuffer};
    StreamFormat mFormat{mStream};
};

enum class Order { OldestFirst, NewestFirst };

constexpr std::size_t LargeBlock = 1 << 16;

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

    // On to the next slot; false after the last. Throws CantRead when a block can't
    // be read, and then goes on after it.
    bool next() {
        if (mDone == mCount && !load()) return false;
        int const place = mOrder == Order::OldestFirst ? mDone : mCount - 1 - mDone;
        ++mDone;
        mSlot = mBlockFirst + place;
        mRecord.deserialize(
            mStream.over(mBytes.get() + static_cast<std::size_t>(place) * File::RecordSize));
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
        mStream.beginBlock();
        mFile->readBytes(mBlockFirst, count, mBytes.get());
        mProgress.add(std::int64_t{count} * File::RecordSize);
        mCount = count;
        return true;
    }

    Progress& mProgress;
    std::size_t mBlockSize;
    std::unique_ptr<char[]> mBytes;
    BlockStream<File::RecordSize> mStream;
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
