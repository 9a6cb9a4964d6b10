#include <CLI/CLI.hpp>
#include <map>

#include "Commands.h"
#include "ParsedOption.h"

namespace {

using namespace ZEB::tool;

void addPaths(CLI::App& command, Options& options, bool several) {
    auto* const option = command.add_option(
        "PATH", options.paths, "A log file, or a directory with log files or data/ and settings/");
    option->required()->type_name("");
    if (!several) option->expected(1);
}

void addFormat(CLI::App& command, Options& options) {
    static std::map<std::string, Format> const formats = {{"table", Format::Aligned},
                                                          {"tsv", Format::Tsv},
                                                          {"csv", Format::Csv},
                                                          {"json", Format::Objects}};
    command.add_option("--format", options.format, "table (the default), tsv, csv or json")
        ->transform(CLI::CheckedTransformer(formats).description(""))
        ->type_name("FORMAT");
}

void addLog(CLI::App& command, Options& options) {
    command
        .add_option("--log", options.log,
                    "The log, where there are several: events (or \"events 1.2.7\"), lamps or "
                    "measurements")
        ->type_name("LOG");
}

void addPeriod(CLI::App& command, Options& options) {
    auto const add = [&](char const* name, std::string const& help, std::int64_t& bound) {
        addParsed(command, name, "TIME", help + ": " + TimeExamples,
                  std::string("a time such as ") + TimeExamples, [&bound](std::string const& text) {
                      auto const time = parseTime(text);
                      if (time) bound = *time;
                      return time.has_value();
                  });
    };
    add("--since", "Records from this time on", options.filter.period.since);
    add("--until", "Records up to this time, included", options.filter.period.until);
}

using Command = void (*)(Options const&, Status&);

void addCommands(CLI::App& app, Options& options, Command& chosen) {
    auto const add = [&](char const* name, char const* help, Command run, bool several = false) {
        CLI::App* const command = app.add_subcommand(name, help);
        command->callback([&chosen, run] { chosen = run; });
        addPaths(*command, options, several);
        return command;
    };
    addFormat(*add("info", "Tell what the logs hold and where they are being written", info, true),
              options);
    CLI::App& showing = *add("show", "Print records, the oldest first", show);
    addFormat(showing, options);
    addLog(showing, options);
    addPeriod(showing, options);
    addFilter(showing, options.filter);
    showing.add_option("-n", options.newest, "The newest N records only")
        ->check(CLI::Range(0L, 1000000000L).description(""))
        ->type_name("N");
    auto* const reverse = showing.add_flag("--reverse", options.reverse, "The newest first");
    showing.add_flag("--follow", options.follow, "Go on with new records as they are written")
        ->excludes(reverse);
    addPeriod(*add("export", "Write measurements as the library's own export does", exportText),
              options);
    addFormat(*add("verify", "Read every slot and report damage; exit code 1 if there is any",
                   verify, true),
              options);
    CLI::App& plotting = *add("plot", "Draw measurements or lamp statistics over time", plot);
    addLog(plotting, options);
    addPeriod(plotting, options);
    plotting.add_option("--image", options.image, "svg (the default) or png")
        ->check(CLI::IsMember({"svg", "png"}).description(""))
        ->type_name("FORMAT");
    plotting.add_option("--curve", options.curve, "One curve only, by its name in the key")
        ->type_name("NAME");
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

}  // namespace

int main(int argc, char** argv) {
    CLI::App app(
        "Looks into the logs of an instrument without touching them.\n"
        "Exit codes: 0 sound, 1 damage found, 2 wrong usage, 3 can't read.");
    app.name("veklogs");
    app.require_subcommand(1);
    Options options;
    Command command = nullptr;
    addCommands(app, options, command);
    try {
        app.parse(argc, argv);
    } catch (CLI::ParseError const& error) {
        return app.exit(error) == 0 ? Sound : Usage;
    }
    return run(command, options);
}
