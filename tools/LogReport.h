#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "Extract.h"
#include "Filter.h"
#include "Info.h"
#include "Json.h"
#include "Quantities.h"
#include "Verifier.h"

namespace ZEB::tool {

// Of each log on the page.
constexpr std::size_t MostFindings = 1000;
constexpr std::size_t MostNames = 200;

// What one log is allowed of what the page can hold.
inline std::size_t shareOf(std::size_t most, std::size_t logs) {
    return std::max<std::size_t>(16, most / std::max<std::size_t>(1, logs));
}

inline void writeList(Json& json, std::string_view name, std::vector<std::string> const& texts) {
    json.key(name).begin('[');
    for (std::size_t i = 0; i < std::min(texts.size(), MostFindings); ++i) json.value(texts[i]);
    json.end(']');
}

inline void writeRow(Json& json, std::vector<Heading> const& headings,
                     std::vector<Cell> const& cells) {
    json.begin('{');
    for (std::size_t i = 0; i < cells.size(); ++i) json.member(headings[i].name, cells[i]);
    json.end('}');
}

// What one log may put on the page.
struct Share {
    std::size_t stretches;
    std::size_t events;
};

// One log's part of the page: verified and gathered, at the same time or not, and then
// written.
class LogReport {
  public:
    LogReport() = default;
    LogReport(LogReport const&) = delete;
    LogReport& operator=(LogReport const&) = delete;
    virtual ~LogReport() = default;

    virtual std::int64_t bytes() const = 0;
    virtual void verify() = 0;
    virtual void gather(Progress& progress) = 0;
    virtual void write(Json& json, Status& status) = 0;
};

template <class Kind>
class ReportOf final : public LogReport {
    using Record = typename Kind::Record;

  public:
    ReportOf(Log<Kind> const& log, Filter const& filter, Share const& share, Status& status)
        : mLog(log),
          mFilter(filter),
          mStretches(share.stretches),
          mExtract(share.events),
          mSurvey(complainOfLosses(log, Advice::CopyIt, status)) {
        complainOfNextFile(log, mSurvey, status);
        auto const place = findPlace(log, Gaps::AreSkipped);
        if (!place.current) return;
        mNewest = position(place.current->mFileIndex, place.newestSlot());
        mNewestTime = place.current->recentRecord().timeStamp();
    }

    std::int64_t bytes() const override { return mLog.bytes(); }

    void verify() override {
        auto const keep = [this](std::vector<Cell> const& cells) {
            if (cells.back() == Cell("sound")) {
                ++mSound;
            } else {
                mFindings.push_back(cells);
            }
        };
        Progress quiet(0, true);
        mWorst = Verifier<Kind>(mLog, mSurvey, keep, quiet).run();
    }

    void gather(Progress& progress) override {
        SlotReader<Kind> reader(progress);
        for (auto const& [index, path] : mLog.paths) {
            auto const file = index < mLog.ring.files ? mLog.open(index) : nullptr;
            if (!file) continue;
            try {
                reader.begin(file, 0, mLog.ring.slotsPerFile);
                while (reader.next()) add(index, reader.slot(), reader.record());
            } catch (CantRead const&) {
                // One of verify's findings.
            }
        }
    }

    void write(Json& json, Status& status) override {
        status.note(mWorst);
        json.begin('{').member("kind", std::string(Kind::Name)).key("info");
        writeRow(json, infoHeadings(), infoRow(mLog, mSurvey, Zone::Utc));
        json.member("sound", mSound).member("findingCount", std::uint64_t{mFindings.size()});
        json.key("findings").begin('[');
        mFindings.resize(std::min(mFindings.size(), MostFindings));
        for (auto const& finding : mFindings) writeRow(json, verifyHeadings(), finding);
        json.end(']').member("records", mGathered.records);
        if (mGathered.records > 0) writeRecords(json);
        json.end('}');
    }

  private:
    void add(int file, int slot, Record const& record) {
        if (!record.isValid() || !mFilter.matches(record)) return;
        mGathered.add(record);
        mExtract.add(age(file, slot), record);
    }

    std::int64_t position(int file, int slot) const {
        return std::int64_t{file} * mLog.ring.slotsPerFile + slot;
    }
    std::uint32_t age(int file, int slot) const {
        std::int64_t const before = mNewest - position(file, slot);
        return static_cast<std::uint32_t>(before < 0 ? before + mLog.ring.capacity() : before);
    }
    Record recordOfAge(std::uint32_t age) {
        std::int64_t const at = (mNewest - age + mLog.ring.capacity()) % mLog.ring.capacity();
        int const index = static_cast<int>(at / mLog.ring.slotsPerFile);
        if (!mFile || mFile->mFileIndex != index) mFile = mLog.open(index);
        return mFile ? mFile->readRecord(static_cast<int>(at % mLog.ring.slotsPerFile)) : Record();
    }

    void writeRecords(Json& json) {
        json.member("first", std::int64_t{mGathered.first})
            .member("last", std::int64_t{mGathered.last})
            .member("newestTime", std::int64_t{mNewestTime.seconds()})
            .member("offset", std::int64_t{mNewestTime.utcOffset()})
            .member("notFinite", mGathered.curves.notFinite())
            .member("complete", mGathered.curves.isComplete());
        auto curves = mGathered.curves.list();
        if (std::is_same_v<Kind, EventKind>) {
            writeCounts(json, curves);
        } else {
            writeCurves(json, curves);
        }
        mExtract.write(json, [this](std::uint32_t age) { return recordOfAge(age); });
    }

    // Of each stretch of time how many events of each severity there were.
    void writeCounts(Json& json, std::vector<Curve>& curves) {
        json.member("width", mGathered.curves.draw(curves, mStretches));
        joinRest(curves, MostSeverities, OtherSeverities);
        sortByName(curves);
        json.key("curves").begin('[');
        std::map<std::int32_t, std::vector<std::uint32_t>> counts;
        for (std::size_t i = 0; i < curves.size(); ++i) {
            for (Stretch const& stretch : curves[i].stretches) {
                auto& row = counts.try_emplace(stretch.index, curves.size()).first->second;
                row[i] = stretch.count;
            }
            writeName(json, curves[i]).end('}');
        }
        json.end(']').key("counts").begin('[');
        for (auto const& [index, row] : counts) {
            json.begin('[').value(std::int64_t{index});
            for (std::uint32_t const count : row) json.value(std::int64_t{count});
            json.end(']');
        }
        json.end(']');
    }

    void writeCurves(Json& json, std::vector<Curve>& curves) {
        std::vector<std::string> others;
        for (std::size_t i = MostPanels; i < std::min(curves.size(), MostPanels + MostNames); ++i) {
            others.push_back(nameOf<Kind>(curves[i].name).whole());
        }
        json.member("curveCount", std::uint64_t{curves.size()});
        writeList(json, "others", others);
        curves.resize(std::min(curves.size(), MostPanels));
        mWidth = mGathered.curves.draw(curves, shareOf(mStretches, curves.size()));
        json.member("width", mWidth);
        sortByName(curves);
        json.key("curves").begin('[');
        for (Curve const& curve : curves) {
            writeName(json, curve).key("stretches").begin('[');
            for (std::size_t i = 0; i < curve.stretches.size(); ++i) writeStretch(json, curve, i);
            json.end(']').end('}');
        }
        json.end(']');
    }

    // [time, value] or [time, least, mean, greatest], with times from the first on; a
    // 0 for a pause.
    void writeStretch(Json& json, Curve const& curve, std::size_t i) {
        Stretch const& stretch = curve.stretches[i];
        json.begin('[').value(stretch.middle(mWidth) - mGathered.first).value(stretch.least);
        if (stretch.least < stretch.greatest) json.value(stretch.mean()).value(stretch.greatest);
        json.end(']');
        if (i + 1 < curve.stretches.size() && curve.pausesAfter(i)) json.value(std::int64_t{0});
    }

    // Opens an object.
    Json& writeName(Json& json, Curve const& curve) {
        CurveName const name = nameOf<Kind>(curve.name);
        return json.begin('{')
            .member("name", name.whole())
            .member("quantity", name.quantity)
            .member("count", curve.count);
    }

    Log<Kind> const& mLog;
    Filter const& mFilter;
    std::size_t mStretches;
    Extract<Kind> mExtract;
    Survey mSurvey;  // before the reading
    Gathered mGathered;
    std::int64_t mNewest = 0;  // the newest record's position
    TimeStamp mNewestTime;
    std::int64_t mWidth = 1;
    std::int64_t mSound = 0;  // files
    std::vector<std::vector<Cell>> mFindings;
    ExitCode mWorst = Sound;
    std::shared_ptr<LogFile<Kind>> mFile;
};

}  // namespace ZEB::tool
