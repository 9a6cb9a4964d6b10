#include <unistd.h>

#include <list>

#include "Commands.h"
#include "Follow.h"
#include "Merge.h"
#include "Printer.h"
#include "Survey.h"

namespace ZEB::tool {

namespace {

constexpr unsigned PollMicroseconds = 200000;

template <class Kind>
using Sources = std::vector<Source<Kind>>;

template <class Kind>
Sources<Kind> sourcesOf(std::vector<Log<Kind>> const& logs, Options const& options,
                        Status& status) {
    Sources<Kind> sources;
    for (Log<Kind> const& log : logs) {
        complainOfLosses(log, options.damaged ? Advice::None : Advice::ShowDamaged, status);
        Source<Kind>& source = sources.emplace_back(log);
        if (options.follow && source.place.current) {
            // What is written meanwhile is left to the follower.
            for (Span& span : source.spans) {
                if (span.file == source.place.current->mFileIndex && span.first == 0) {
                    span.count = source.place.newestSlot() + 1;
                }
            }
        }
        if (!options.damaged) continue;
        for (Log<Kind>& file : unfitFiles(log)) sources.emplace_back(std::move(file));
    }
    return sources;
}

template <class Kind>
std::int64_t bytesOf(Sources<Kind> const& sources) {
    std::int64_t bytes = 0;
    for (auto const& source : sources) bytes += source.log.bytes();
    return bytes;
}

// The records are read for their columns, then again to print them.
template <class Kind>
ValueColumns valueColumns(Sources<Kind> const& sources, Reading const& reading) {
    ValueColumns columns;
    if constexpr (std::is_same_v<Kind, MeasurementKind>) {
        for (auto const& source : sources) {
            Cursor<Kind> cursor(source.log, source.spans, reading);
            while (cursor.next()) columns.makeRoom(cursor.record());
        }
    }
    return columns;
}

template <class Kind>
void follow(Sources<Kind> const& sources, Filter const& filter, Printer<Kind>& printer) {
    std::list<Follower<Kind>> followers;
    for (auto const& source : sources) {
        if (!source.log.isUnfit) followers.emplace_back(source.log, source.place);
    }
    while (std::fflush(stdout) == 0) {
        usleep(PollMicroseconds);
        for (auto& follower : followers) {
            follower.visitNew([&](auto const& log, int file, int slot, auto const& record) {
                if (filter.matches(record)) printer.print(log, file, slot, record);
            });
        }
    }
}

template <class Kind>
void showLogs(std::vector<Log<Kind>> const& logs, Options const& options, Status& status) {
    options.filter.requireFitFor(Kind::Name);
    Sources<Kind> sources = sourcesOf(logs, options, status);
    bool const readTwice = Printer<Kind>::needsValueColumns(options);
    Progress progress(bytesOf(sources) * (readTwice ? 2 : 1), isatty(STDOUT_FILENO) != 0);
    Order const order = options.reverse ? Order::NewestFirst : Order::OldestFirst;
    Reading const reading{options.filter, order, progress, status};
    if (options.newest >= 0) cutToNewest(sources, options.newest, reading);
    ValueColumns columns;
    if (readTwice) columns = valueColumns(sources, reading);
    Printer<Kind> printer(options, std::move(columns), status);
    for (Merge<Kind> merge(sources, reading); merge.next();) {
        auto const& cursor = merge.cursor();
        printer.print(sources[merge.source()].log, cursor.file(), cursor.slot(), cursor.record());
    }
    printer.end();
    if (options.follow) follow(sources, options.filter, printer);
}

// The one log of a path that the options mean.
AnyLog chosenLog(std::string const& path, Options const& options, Status& status) {
    std::vector<AnyLog> chosen;
    std::string names;
    for (AnyLog& any : findLogs(path, status)) {
        std::visit(
            [&](auto const& log) {
                names += (names.empty() ? "" : ", ") + log.name();
                if (log.isCalled(options.log)) chosen.push_back(std::move(any));
            },
            any);
    }
    if (chosen.size() == 1) return std::move(chosen.front());
    std::string const held = path + " holds " + (names.empty() ? "no log" : names);
    throw WrongUsage(chosen.empty() ? held + ", not " + options.log
                                    : held + ": choose one with --log");
}

}  // namespace

std::vector<AnyLog> chosenLogs(Options const& options, Status& status) {
    std::vector<AnyLog> logs;
    for (std::string const& path : options.paths) {
        try {
            logs.push_back(chosenLog(path, options, status));
        } catch (CantRead const& failure) {
            status.complain(Unreadable, failure.what());
        } catch (WrongUsage const& wrong) {
            status.complain(Usage, wrong.what());
        }
        if (!logs.empty() && logs.back().index() != logs.front().index()) {
            throw WrongUsage("the paths hold different logs: choose one with --log");
        }
    }
    return logs;
}

void show(Options const& options, Status& status) {
    std::vector<AnyLog> logs = chosenLogs(options, status);
    forEachKind([&](auto kind) {
        using Kind = decltype(kind);
        std::vector<Log<Kind>> ofKind;
        for (AnyLog& any : logs) {
            if (auto* const log = std::get_if<Log<Kind>>(&any)) ofKind.push_back(std::move(*log));
        }
        if (!ofKind.empty()) showLogs(ofKind, options, status);
    });
}

}  // namespace ZEB::tool
