#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <vector>

#include "Json.h"
#include "Kinds.h"

namespace ZEB::tool {

// What a report shows of a log's records apart from their curves. Records come in the
// order of the files, each with its age: how many slots it lies before the newest.
template <class Kind>
class Extract {
  public:
    using RecordOfAge = std::function<typename Kind::Record(std::uint32_t age)>;

    explicit Extract(std::size_t) {}
    void add(std::uint32_t, typename Kind::Record const&) {}
    void write(Json&, RecordOfAge const&) const {}
};

// The newest record of each lamp.
template <>
class Extract<LampKind> {
  public:
    using RecordOfAge = std::function<LightSourceRecord(std::uint32_t age)>;

    explicit Extract(std::size_t) {}
    void add(std::uint32_t age, LightSourceRecord const& record);
    void write(Json& json, RecordOfAge const& recordOfAge) const;

  private:
    std::map<std::uint32_t, LightSourceRecord> mNewest;
};

// The newest events, and how often each code comes.
template <>
class Extract<EventKind> {
  public:
    using RecordOfAge = std::function<EventMsg(std::uint32_t age)>;

    explicit Extract(std::size_t most) : mMost(most), mCodes(1 << 16) {}
    void add(std::uint32_t age, EventMsg const& record) {
        Code& code = mCodes[record.code()];
        if (code.count++ == 0 || age < code.age) code.age = age;
        // Ages fall from record to record, but for the seam of the ring.
        if (age > mLastAge) endRun();
        mLastAge = age;
        if (mRun.size() < mMost) {
            mRun.push_back(age);
        } else {
            mRun[mNext] = age;
            if (++mNext == mMost) mNext = 0;
        }
    }
    void write(Json& json, RecordOfAge const& recordOfAge);

  private:
    struct Code {
        std::uint32_t count = 0;
        std::uint32_t age = 0;  // of the newest
    };

    void endRun();

    std::size_t mMost;
    std::vector<Code> mCodes;
    std::uint32_t mLastAge = 0;
    std::size_t mNext = 0;            // the oldest of a full run
    std::vector<std::uint32_t> mRun;  // the last ages since the seam
    std::vector<std::uint32_t> mEarlier;
};

}  // namespace ZEB::tool
