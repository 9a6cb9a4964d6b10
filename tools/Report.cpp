#include <algorithm>
#include <atomic>
#include <cstdio>
#include <ctime>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <vector>

#include "Commands.h"
#include "Json.h"
#include "LogReport.h"
#include "report/Page.h"

namespace ZEB::tool {

namespace {

// For the report as a whole, so that it stays below 6 MB.
constexpr std::size_t MostStretches = 24 * 2048;
constexpr std::size_t MostEvents = 5000;
// Logs that are read together; each takes 9 MB.
constexpr std::size_t MostTogether = 3;

using Reports = std::vector<std::unique_ptr<LogReport>>;

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

template <class Kind>
std::unique_ptr<LogReport> reportOf(Log<Kind> const& log, Filter const& filter, Share const& share,
                                    Status& status) {
    return std::make_unique<ReportOf<Kind>>(log, filter, share, status);
}

// In two threads, the longest pieces of work first, so that the threads end together. All
// files are read twice, since handing records from one thread to the other takes longer.
void readAll(Reports const& reports, Progress& progress) {
    std::vector<LogReport*> largestFirst;
    for (auto const& report : reports) largestFirst.push_back(report.get());
    std::sort(largestFirst.begin(), largestFirst.end(),
              [](auto const* left, auto const* right) { return left->bytes() > right->bytes(); });
    std::vector<std::function<void()>> pieces;
    for (LogReport* const report : largestFirst) {
        pieces.emplace_back([report, &progress] { report->gather(progress); });
        pieces.emplace_back([report] { report->verify(); });
    }
    std::atomic<std::size_t> next{0};
    auto const work = [&] {
        for (std::size_t i = next++; i < pieces.size(); i = next++) pieces[i]();
    };
    auto other = std::async(work);  // may have nothing left to do
    work();
    other.get();
}

void writeInstrument(Json& json, Instrument& instrument, Filter const& filter, Share const& share,
                     Progress& progress, Status& status) {
    status.setListener([&](std::string const& what) { instrument.complaints.push_back(what); });
    json.begin('{').member("path", instrument.path).key("logs").begin('[');
    for (std::size_t i = 0; i < instrument.logs.size();) {
        Reports reports;
        for (; i < instrument.logs.size() && reports.size() < MostTogether; ++i) {
            auto const make = [&](auto const& log) { return reportOf(log, filter, share, status); };
            reports.push_back(std::visit(make, instrument.logs[i]));
        }
        readAll(reports, progress);
        for (auto const& report : reports) report->write(json, status);
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
    Share const share{shareOf(MostStretches, logs), shareOf(MostEvents, eventLogs)};
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
            writeInstrument(json, instrument, options.filter, share, progress, status);
        }
        json.end(']').end('}');
    }
    std::fputs(PageTail, stdout);
}

}  // namespace ZEB::tool
