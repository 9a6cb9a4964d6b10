#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>
#include <utility>

#include "Commands.h"
#include "ParsedOption.h"
#include "Usage.h"

namespace {

using namespace ZEB::tool;

void addPaths(CLI::App& command, Options& options, bool several) {
    auto* const option = command.add_option(
        "PATH", options.paths, "A log file, or a directory with log files or data/ and settings/");
    option->required()->type_name("");
    if (!several) option->expected(1);
}

void addFormat(CLI::App& command, Options& options) {
    addParsed(command, "--format", "FORMAT", "table (the default), tsv, csv, json or jsonl",
              "table, tsv, csv, json or jsonl", [&options](std::string const& text) {
                  static std::pair<char const*, Format> const formats[] = {
                      {"table", Format::Aligned},
                      {"tsv", Format::Tsv},
                      {"csv", Format::Csv},
                      {"json", Format::Json},
                      {"jsonl", Format::JsonLines}};
                  for (auto const& [name, format] : formats) {
                      if (text != name) continue;
                      options.format = format;
                      return true;
                  }
                  return false;
              });
}

void addLog(CLI::App& command, Options& options) {
    command
        .add_option("--log", options.log,
                    "The log, where there are several: events (or \"events 1.2.7\"), lamps or "
                    "measurements")
        ->type_name("LOG");
}

void addPeriod(CLI::App& command, Options& options) {
    std::string const allowed = std::string("a time such as ") + TimeExamples;
    auto const add = [&](char const* name, char const* help, std::int64_t& bound) {
        addParsed(command, name, "TIME", help, allowed, [&bound](std::string const& text) {
            auto const time = parseTime(text);
            if (time) bound = *time;
            return time.has_value();
        });
    };
    add("--since", "Records from this time on", options.filter.period.since);
    add("--until", "Records up to this time, included", options.filter.period.until);
    command.footer(std::string("TIME: ") + TimeExamples);
}

void addZone(CLI::App& command, Options& options) {
    auto* const local = command.add_flag_callback(
        "--local", [&options] { options.zone = Zone::Record; },
        "Print times with each record's own UTC offset");
    command
        .add_flag_callback(
            "--utc", [] {}, "Print times in UTC (the default)")
        ->excludes(local);
}

void addDamaged(CLI::App& command, Options& options) {
    command.add_flag("--damaged", options.damaged,
                     "Read short files and those with a wrong header, too, as far as they go");
}

void addShow(CLI::App& command, Options& options) {
    addFormat(command, options);
    addLog(command, options);
    addPeriod(command, options);
    addFilter(command, options.filter);
    addParsed(command, "-n", "N", "The newest N records only", "a number of records",
              [&options](std::string const& text) {
                  bool const isNumber = !text.empty() && text.size() < 10 &&
                                        text.find_first_not_of("0123456789") == std::string::npos;
                  if (isNumber) options.newest = std::stol(text);
                  return isNumber;
              });
    addZone(command, options);
    addDamaged(command, options);
    auto* const reverse = command.add_flag("--reverse", options.reverse, "The newest first");
    command
        .add_flag("--follow", options.follow,
                  "Go on with new records as they are written, after the newest 10 or N")
        ->excludes(reverse);
}

void addPlot(CLI::App& command, Options& options) {
    addLog(command, options);
    addPeriod(command, options);
    addFilter(command, options.filter);
    addDamaged(command, options);
    addParsed(command, "--image", "FORMAT", "svg (the default) or png", "svg or png",
              [&options](std::string const& text) {
                  options.image = text;
                  return text == "svg" || text == "png";
              });
    command
        .add_option("--curve", options.curve,
                    "Only curves of this name, such as \"temperature\" or \"lamp 2 ignitions\"")
        ->type_name("NAME");
}

using Command = void (*)(Options const&, Status&);

void addCommands(CLI::App& app, Options& options, Command& chosen) {
    auto const add = [&](char const* name, char const* help, Command run, bool several = true) {
        CLI::App* const command = app.add_subcommand(name, help);
        command->callback([&chosen, run] { chosen = run; });
        addPaths(*command, options, several);
        return command;
    };
    CLI::App& telling = *add("info", "Tell what the logs hold and where they are written", info);
    addFormat(telling, options);
    addZone(telling, options);
    addShow(*add("show", "Print records, the oldest first", show), options);
    CLI::App& exporting =
        *add("export", "Write measurements as the library's own export does", exportText, false);
    addPeriod(exporting, options);
    addDamaged(exporting, options);
    addFormat(
        *add("verify", "Read every slot and report damage; exit code 1 if there is any", verify),
        options);
    addPlot(*add("plot", "Draw a log over time", plot, false), options);
    CLI::App& reporting = *add("report", "Write one HTML page that shows all there is", report);
    addLog(reporting, options);
    addPeriod(reporting, options);
    addFilter(reporting, options.filter);
}

ExitCode run(Command command, Options const& options) {
    Status status;
    try {
        command(options, status);
    } catch (WrongUsage const& wrong) {
        status.complain(Usage, wrong.what());
    } catch (CantRead const& failure) {
        status.complain(Unreadable, failure.what());
    }
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        status.complain(Unreadable, "standard output can't be written");
    }
    return status.code();
}

// Following means that rows have no end: no brackets, and a beginning not far back.
void settleFollowing(Options& options) {
    constexpr long FollowedFrom = 10;
    if (!options.follow) return;
    if (options.newest < 0) options.newest = FollowedFrom;
    if (options.format == Format::Json) options.format = Format::JsonLines;
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app(
        "Looks into the logs of an instrument without touching them.\n"
        "Exit codes: 0 sound, 1 damage found, 2 wrong usage, 3 can't read.");
    app.name("veklogs");
    app.set_version_flag("--version", "veklogs " VEKLOGS_VERSION, "Prints the version");
    app.require_subcommand(1);
    Options options;
    Command command = nullptr;
    addCommands(app, options, command);
    try {
        app.parse(argc, argv);
    } catch (CLI::ParseError const& error) {
        if (error.get_exit_code() == 0) return app.exit(error);
        std::fprintf(stderr, "veklogs: %s\n", describeError(app, error).c_str());
        return Usage;
    }
    settleFollowing(options);
    return run(command, options);
}
