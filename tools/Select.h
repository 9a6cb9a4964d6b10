#pragma once

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "Filter.h"
#include "Place.h"
#include "SlotReader.h"

namespace ZEB::tool {

// Whether the first and last record of a span show that no record of it falls in
// the period.
template <class Kind>
bool liesOutside(LogFile<Kind>& file, Span const& span, Period const& period) {
    auto const first = file.readRecord(span.first);
    auto const last = file.readRecord(span.first + span.count - 1);
    if (!first.isValid() || !last.isValid()) return false;
    std::int64_t const from = first.timeStamp().seconds();
    std::int64_t const to = last.timeStamp().seconds();
    return from <= to && (to < period.since || from > period.until);
}

// How records are read: which ones, in what order, who is told.
struct Reading {
    Filter const& filter;
    Order order;
    Progress& progress;
    Status& status;
    std::size_t blockSize = LargeBlock;
};

// Goes through the records of a log that a filter means, in the order of the spans
// or against it. What can't be read is complained of and left out.
template <class Kind>
class Cursor {
    using Record = typename Kind::Record;

  public:
    Cursor(Log<Kind> const& log, std::vector<Span> spans, Reading const& reading)
        : mLog(&log),
          mSpans(std::move(spans)),
          mReading(reading),
          mReader(reading.progress, reading.blockSize) {
        if (reading.order == Order::NewestFirst) std::reverse(mSpans.begin(), mSpans.end());
    }

    bool next() {
        for (;;) {
            try {
                while (mReader.next()) {
                    if (record().isValid() && mReading.filter.matches(record())) return true;
                }
                if (mNext == mSpans.size()) return false;
                begin(mSpans[mNext++]);
            } catch (CantRead const& failure) {
                mReading.status.complain(Unreadable, failure.what());
            }
        }
    }

    int file() const { return mFile; }
    int slot() const { return mReader.slot(); }
    Record const& record() const { return mReader.record(); }

  private:
    void begin(Span const& span) {
        mFile = span.file;
        auto const file = mLog->open(span.file);
        if (!file) {
            mReading.status.complain(Damage,
                                     mLog->filePath(span.file) + ": changed while it was read");
        } else if (span.count > 0 && !liesOutside(*file, span, mReading.filter.period)) {
            mReader.begin(file, span.first, span.count, mReading.order);
        }
    }

    Log<Kind> const* mLog;
    std::vector<Span> mSpans;
    Reading mReading;
    SlotReader<Kind> mReader;
    std::size_t mNext = 0;
    int mFile = 0;
};

}  // namespace ZEB::tool
