#include "Extract.h"

#include <algorithm>

namespace ZEB::tool {

namespace {

constexpr std::size_t MostCodes = 20;

// The fields that all kinds share open a row that is still to be closed.
template <class Record>
Json& beginRow(Json& json, Record const& record) {
    TimeStamp const time = record.timeStamp();
    return json.begin('[')
        .value(std::int64_t{time.seconds()})
        .value(std::int64_t{time.microseconds()})
        .value(std::int64_t{time.utcOffset()});
}

void writeEvent(Json& json, EventMsg const& event) {
    beginRow(json, event)
        .value(std::int64_t{event.code()})
        .value(std::int64_t{event.severity()})
        .value(event.text());
}

}  // namespace

void Extract<LampKind>::add(std::uint32_t, LightSourceRecord const& record) {
    auto const [place, isNew] = mNewest.try_emplace(record.lampKind(), record);
    if (!isNew && record.key() >= place->second.key()) place->second = record;
}

void Extract<LampKind>::write(Json& json, RecordOfAge const&) const {
    json.key("lamps").begin('[');
    for (auto const& [lamp, record] : mNewest) {
        beginRow(json, record)
            .value(std::int64_t{lamp})
            .value(record.burningTime())
            .value(std::int64_t{record.ignitions()})
            .end(']');
    }
    json.end(']');
}

void Extract<EventKind>::endRun() {
    mEarlier.insert(mEarlier.end(), mRun.begin(), mRun.end());
    mRun.clear();
    mNext = 0;
}

void Extract<EventKind>::write(Json& json, RecordOfAge const& recordOfAge) {
    endRun();
    std::sort(mEarlier.begin(), mEarlier.end());
    mEarlier.resize(std::min(mEarlier.size(), mMost));
    json.key("newest").begin('[');
    for (std::uint32_t const age : mEarlier) {
        writeEvent(json, recordOfAge(age));
        json.end(']');
    }
    json.end(']');

    std::vector<std::size_t> codes;
    for (std::size_t code = 0; code < mCodes.size(); ++code) {
        if (mCodes[code].count > 0) codes.push_back(code);
    }
    std::stable_sort(codes.begin(), codes.end(), [this](std::size_t left, std::size_t right) {
        return mCodes[left].count > mCodes[right].count;
    });
    json.member("differentCodes", std::uint64_t{codes.size()}).key("codes").begin('[');
    codes.resize(std::min(codes.size(), MostCodes));
    for (std::size_t const code : codes) {
        writeEvent(json, recordOfAge(mCodes[code].age));
        json.value(std::uint64_t{mCodes[code].count}).end(']');
    }
    json.end(']');
}

}  // namespace ZEB::tool
