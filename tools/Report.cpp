#include <ctime>
#include <future>
#include <memory>

#include "Commands.h"
#include "Extract.h"
#include "Info.h"
#include "Json.h"
#include "Quantities.h"
#include "Verifier.h"
#include "report/Page.h"

namespace ZEB::tool {

namespace {

// For the report as a whole, so that it stays below 6 MB.
constexpr std::size_t MostStretches = 24 * 2048;
constexpr std::size_t MostEvents = 5000;
// For each log.
constexpr std::size_t MostFindings = 1000;
constexpr std::size_t MostNames = 200;

// What one log is allowed of what the page can hold.
std::size_t shareOf(std::size_t most, std::size_t logs) {
    return std::max<std::size_t>(16, most / std::max<std::size_t>(1, logs));
}

void writeList(Json& json, std::string_view name, std::vector<std::string> const& texts) {
    json.key(name).begin('[');
    for (std::size_t i = 0; i < std::min(texts.size(), MostFindings); ++i) json.value(texts[i]);
    json.end(']');
}

void writeRow(Json& json, std::vector<Heading> const& headings, std::vector<Cell> const& cells) {
    json.begin('{');
    for (std::size_t i = 0; i < cells.size(); ++i) json.member(headings[i].name, cells[i]);
    json.end('}');
}

// One log's part of the page.
template <class Kind>
class LogReport {
    using Record = typename Kind::Record;

  public:
    LogReport(Log<Kind> const& log, Filter const& filter, std::size_t stretches, std::size_t events)
        : mLog(log), mFilter(filter), mStretches(stretches), mExtract(events) {
        auto const place = findPlace(log, Gaps::AreSkipped);
        if (!place.current) return;
        mNewest = position(place.current->mFileIndex, place.newestSlot());
        mNewestTime = place.current->recentRecord().timeStamp();
    }

    // In two threads: it takes as long as the slower of them. Both read all files, since
    // handing records over takes longer. Where no thread is to be had, one does both.
    void read(Status& status, Progress& progress) {
        auto verified = std::async([this, &status] { verify(status); });
        gather(progress);
        verified.get();
    }

    void write(Json& json, Status& status) {
        Survey const survey = surveyOf(mLog);
        complainOfNextFile(mLog, survey, status);
        json.begin('{').member("kind", std::string(Kind::Name)).key("info");
        writeRow(json, infoHeadings(), infoRow(mLog, survey, Zone::Utc));
        json.member("sound", mSound).member("findingCount", std::uint64_t{mFindings.size()});
        json.key("findings").begin('[');
        mFindings.resize(std::min(mFindings.size(), MostFindings));
        for (auto const& finding : mFindings) writeRow(json, verifyHeadings(), finding);
        json.end(']').member("records", mGathered.records);
        if (mGathered.records > 0) writeRecords(json);
        json.end('}');
    }

  private:
    void verify(Status& status) {
        auto const keep = [this](std::vector<Cell> const& cells) {
            if (cells.back() == Cell("sound")) {
                ++mSound;
            } else {
                mFindings.push_back(cells);
            }
        };
        Progress quiet(0, true);
        Verifier<Kind>(mLog, keep, status, quiet).run();
    }

    void gather(Progress& progress) {
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
    Gathered mGathered;
    std::int64_t mNewest = 0;  // the newest record's position
    TimeStamp mNewestTime;
    std::int64_t mWidth = 1;
    std::int64_t mSound = 0;  // files
    std::vector<std::vector<Cell>> mFindings;
    std::shared_ptr<LogFile<Kind>> mFile;
};

struct Instrument {
    std::string path;
    std::vector<AnyLog> logs;
    std::vector<std::string> complaints;
};

std::vector<Instrument> findInstruments(Options const& options, Status& status) {
    std::vector<Instrument> instruments;
    for (std::string const& path : options.paths) {
        Instrument& instrument = instruments.emplace_back(Instrument{path, {}, {}});
        status.setListener([&](std::string const& what) { instrument.complaints.push_back(what); });
        try {
            for (AnyLog& any : findLogs(path, status)) {
                auto const isMeant = [&](auto const& log) { return log.isCalled(options.log); };
                if (std::visit(isMeant, any)) instrument.logs.push_back(std::move(any));
            }
            if (instrument.logs.empty() && !options.log.empty()) {
                status.complain(Usage, path + " holds no log " + options.log);
            }
        } catch (CantRead const& failure) {
            status.complain(Unreadable, failure.what());
        }
    }
    status.setListener({});
    return instruments;
}

void writeInstrument(Json& json, Instrument& instrument, Options const& options,
                     std::size_t stretches, std::size_t events, Progress& progress,
                     Status& status) {
    status.setListener([&](std::string const& what) { instrument.complaints.push_back(what); });
    json.begin('{').member("path", instrument.path).key("logs").begin('[');
    for (AnyLog const& any : instrument.logs) {
        std::visit(
            [&](auto const& log) {
                LogReport report(log, options.filter, stretches, events);
                report.read(status, progress);
                report.write(json, status);
            },
            any);
    }
    json.end(']');
    writeList(json, "complaints", instrument.complaints);
    json.member("complaintCount", std::uint64_t{instrument.complaints.size()}).end('}');
    status.setListener({});
}

}  // namespace

void report(Options const& options, Status& status) {
    options.filter.requirePeriod();
    auto instruments = findInstruments(options, status);
    std::int64_t bytes = 0;
    std::size_t logs = 0;
    std::size_t eventLogs = 0;
    for (Instrument const& instrument : instruments) {
        for (AnyLog const& any : instrument.logs) {
            bytes += std::visit([](auto const& log) { return log.bytes(); }, any);
            ++logs;
            if (std::holds_alternative<Log<EventKind>>(any)) ++eventLogs;
        }
    }
    Progress progress(bytes);
    std::fputs(PageHead, stdout);
    {
        Json json(stdout);
        json.begin('{')
            .member("written", std::int64_t{std::time(nullptr)})
            .member("version", std::string(VEKLOGS_VERSION))
            .key("instruments")
            .begin('[');
        for (Instrument& instrument : instruments) {
            writeInstrument(json, instrument, options, shareOf(MostStretches, logs),
                            shareOf(MostEvents, eventLogs), progress, status);
        }
        json.end(']').end('}');
    }
    std::fputs(PageTail, stdout);
}

}  // namespace ZEB::tool
