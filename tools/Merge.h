#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <utility>
#include <vector>

#include "Select.h"

namespace ZEB::tool {

// A log, or an unfit file of one, and the slots of it that are read.
template <class Kind>
struct Source {
    Log<Kind> log;
    Place<Kind> place;
    std::vector<Span> spans;

    explicit Source(Log<Kind> from)
        : log(std::move(from)),
          place(findPlace(log, Gaps::AreSkipped)),
          spans(spansOf(log, place)) {}
};

// The records of several sources, merged by time; each source keeps its own order.
template <class Kind>
class Merge {
  public:
    Merge(std::vector<Source<Kind>> const& sources, Reading const& reading)
        : mSign(reading.order == Order::NewestFirst ? 1 : -1) {
        Reading shared = reading;
        shared.blockSize = std::clamp(MostMemory / std::max<std::size_t>(sources.size(), 1),
                                      SmallestBlock, reading.blockSize);
        for (std::size_t i = 0; i < sources.size(); ++i) {
            mCursors.emplace_back(sources[i].log, sources[i].spans, shared);
            advance(i);
        }
    }

    bool next() {
        if (mCurrent) advance(*mCurrent);
        mCurrent.reset();
        if (mHeads.empty()) return false;
        std::pop_heap(mHeads.begin(), mHeads.end());
        mCurrent = static_cast<std::size_t>(mSign * mHeads.back().second);
        mHeads.pop_back();
        return true;
    }

    // Where the record is from.
    std::size_t source() const { return *mCurrent; }
    Cursor<Kind> const& cursor() const { return mCursors[*mCurrent]; }

  private:
    static constexpr std::size_t MostMemory = 1 << 23;
    static constexpr std::size_t SmallestBlock = 1 << 12;

    // Time and source, with their signs turned when the oldest comes first: the
    // greatest is next.
    using Head = std::pair<std::int64_t, std::int64_t>;

    void advance(std::size_t source) {
        if (!mCursors[source].next()) return;
        TimeStamp const time = mCursors[source].record().timeStamp();
        constexpr std::int64_t Micro = 1000000;
        std::int64_t const key = time.seconds() * Micro + std::int64_t{time.microseconds()};
        mHeads.emplace_back(mSign * key, mSign * static_cast<std::int64_t>(source));
        std::push_heap(mHeads.begin(), mHeads.end());
    }

    std::int64_t mSign;
    std::deque<Cursor<Kind>> mCursors;
    std::vector<Head> mHeads;
    std::optional<std::size_t> mCurrent;
};

// Cuts spans to what is not before a slot.
inline void cutBefore(std::vector<Span>& spans, int file, int slot) {
    auto const first = std::find_if(spans.begin(), spans.end(), [&](Span const& span) {
        return span.file == file && span.first <= slot && slot < span.first + span.count;
    });
    spans.erase(spans.begin(), first);
    spans.front().count -= slot - spans.front().first;
    spans.front().first = slot;
}

// Cuts the sources to the newest count records of all.
template <class Kind>
void cutToNewest(std::vector<Source<Kind>>& sources, long count, Reading reading) {
    reading.order = Order::NewestFirst;
    std::vector<std::optional<std::pair<int, int>>> oldest(sources.size());
    Merge<Kind> merge(sources, reading);
    for (; count > 0 && merge.next(); --count) {
        oldest[merge.source()] = {merge.cursor().file(), merge.cursor().slot()};
    }
    if (count > 0) return;
    for (std::size_t i = 0; i < sources.size(); ++i) {
        if (oldest[i]) {
            cutBefore(sources[i].spans, oldest[i]->first, oldest[i]->second);
        } else {
            sources[i].spans.clear();
        }
    }
}

}  // namespace ZEB::tool
