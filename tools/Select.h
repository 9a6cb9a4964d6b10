#pragma once

#include <vector>

#include "Filter.h"
#include "Place.h"

namespace ZEB::tool {

// Whether the first and last record of a span tell that none of it is meant.
template <class Kind>
bool liesOutside(LogFile<Kind>& file, Span const& span, Period const& period) {
    auto const first = file.readRecord(span.first);
    auto const last = file.readRecord(span.first + span.count - 1);
    if (!first.isValid() || !last.isValid()) return false;
    std::int64_t const from = first.timeStamp().seconds();
    std::int64_t const to = last.timeStamp().seconds();
    return from <= to && (to < period.since || from > period.until);
}

// Calls visit(file index, slot, record) for each record that the filter means, in the
// order of the spans or against it, until it returns false; the result is false,
// then.
template <class Kind, class Visit>
bool forEachRecord(Log<Kind> const& log, std::vector<Span> const& spans, Filter const& filter,
                   bool backward, SlotReader& reader, Visit const& visit) {
    for (std::size_t i = 0; i < spans.size(); ++i) {
        Span const& span = spans[backward ? spans.size() - 1 - i : i];
        auto const file = log.open(span.file);
        if (!file || span.count == 0 || liesOutside(*file, span, filter.period)) continue;
        auto const visitMeant = [&](int slot, auto const& record) {
            bool const meant = record.isValid() && filter.matches(record);
            return !meant || visit(span.file, slot, record);
        };
        bool const goOn = backward ? reader.backward(*file, span.first, span.count, visitMeant)
                                   : reader.forward(*file, span.first, span.count, visitMeant);
        if (!goOn) return false;
    }
    return true;
}

// Cuts the spans to their newest count records.
template <class Kind>
std::vector<Span> newestOf(Log<Kind> const& log, std::vector<Span> spans, Filter const& filter,
                           long count, SlotReader& reader) {
    if (count == 0) return {};
    int firstFile = 0;
    int firstSlot = 0;
    bool const hasMore =
        !forEachRecord(log, spans, filter, true, reader, [&](int file, int slot, auto const&) {
            firstFile = file;
            firstSlot = slot;
            return --count > 0;
        });
    if (!hasMore) return spans;
    auto const isFirst = [&](Span const& span) {
        return span.file == firstFile && span.first <= firstSlot &&
               firstSlot < span.first + span.count;
    };
    spans.erase(spans.begin(), std::find_if(spans.begin(), spans.end(), isFirst));
    spans.front().count -= firstSlot - spans.front().first;
    spans.front().first = firstSlot;
    return spans;
}

}  // namespace ZEB::tool
