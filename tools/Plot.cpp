#include <sys/mman.h>

#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>

#include "Commands.h"
#include "Picture.h"
#include "Quantities.h"
#include "Select.h"
#include "Survey.h"
#include "files/Handles.h"

namespace ZEB::tool {

namespace {

constexpr std::size_t Stretches = 1600;  // of a curve: more than there are pixels
constexpr int Bars = 150;

template <class Kind>
void gather(Log<Kind> const& log, Options const& options, Status& status, Gathered& gathered) {
    Progress progress(log.bytes());
    Cursor<Kind> cursor(log, spansOf(log, findPlace(log, Gaps::AreSkipped)),
                        {options.filter, Order::OldestFirst, progress, status});
    while (cursor.next()) gathered.add(cursor.record());
}

// "26,000,000 values"
std::string counted(std::uint64_t count, std::string const& what) {
    std::string text = std::to_string(count);
    for (std::size_t end = text.size(); end > 3; end -= 3) text.insert(end - 3, ",");
    return text + ' ' + what + (count == 1 ? "" : "s");
}

// "6 hours"
std::string durationText(std::int64_t seconds) {
    constexpr std::pair<std::int64_t, char const*> Units[] = {
        {86400, "day"}, {3600, "hour"}, {60, "minute"}, {1, "second"}};
    for (auto const& [length, name] : Units) {
        if (seconds % length == 0) {
            return counted(static_cast<std::uint64_t>(seconds / length), name);
        }
    }
    return "";
}

std::string titleOf(std::string const& log, Options const& options, Gathered const& gathered) {
    constexpr std::size_t MostBytes = 60;
    std::string path = std::filesystem::absolute(options.paths.front()).lexically_normal();
    if (path.size() > MostBytes) path = "..." + path.substr(path.size() - MostBytes);
    auto const minute = [](std::int32_t seconds) {
        std::string text = timeText(TimeStamp(seconds)).substr(0, 16);
        text[10] = ' ';
        return text;
    };
    return path + ": " + log + ", " + minute(gathered.first) + " to " + minute(gathered.last) +
           " UTC, " + counted(gathered.records, "record");
}

// Those that the options mean and that find room, the ones with the most values.
template <class Kind>
std::vector<Curve> chosenCurves(Gathered const& gathered, Options const& options, Status& status) {
    std::vector<Curve> const all = gathered.curves.list();
    std::vector<Curve> chosen;
    for (Curve const& curve : all) {
        if (options.curve.empty() || nameOf<Kind>(curve.name).matches(options.curve)) {
            chosen.push_back(curve);
        }
    }
    if (chosen.empty() && !all.empty()) {
        throw WrongUsage("no curve " + options.curve + "; there are " + namesOf<Kind>(all, 0));
    }
    if (!std::is_same_v<Kind, EventKind> && chosen.size() > MostPanels) {
        status.complain(Sound, "not drawn, for want of room: " + namesOf<Kind>(chosen, MostPanels) +
                                   "; choose with --curve, --channel or --lamp");
        chosen.resize(MostPanels);
    }
    return chosen;
}

template <class Kind>
Picture pictureOf(Log<Kind> const& log, Options const& options, Status& status) {
    options.filter.requireFitFor(Kind::Name);
    Gathered gathered;
    gather(log, options, status, gathered);
    if (options.damaged) {
        for (auto const& unfit : unfitFiles(log)) gather(unfit, options, status, gathered);
    }
    auto curves = chosenCurves<Kind>(gathered, options, status);
    if (curves.empty()) throw CantRead("nothing to plot in " + options.paths.front());
    Picture picture;
    picture.title = titleOf(log.name(), options, gathered);
    picture.from = gathered.first;
    picture.to = gathered.last;
    picture.stacked = std::is_same_v<Kind, EventKind>;
    if (picture.stacked) {
        std::int64_t const span = picture.to - picture.from;
        picture.width = gathered.curves.draw(curves, Stretches, span / Bars);
        joinRest(curves, MostSeverities, OtherSeverities);
    } else {
        picture.width = gathered.curves.draw(curves, Stretches);
    }
    std::string const width = durationText(picture.width);
    if (!picture.stacked && picture.width > 1) {
        picture.footnote = "each point stands for " + width +
                           ": the line goes through the means, the band from least to greatest";
    }
    if (!gathered.curves.isComplete()) {
        picture.footnote += "  (very many curves: some of those with few values are not complete)";
    }
    sortByName(curves);
    std::map<std::string, std::size_t> colours;  // a quantity has the same in all channels
    for (Curve& curve : curves) {
        CurveName const name = nameOf<Kind>(curve.name);
        std::string const what = picture.stacked ? name.source : name.quantity;
        std::size_t const colour = colours.try_emplace(what, colours.size()).first->second;
        picture.panels.push_back(
            {name.whole(), counted(curve.count, picture.stacked ? "event" : "value"),
             picture.stacked ? "events in " + width : name.quantity, colour, std::move(curve)});
    }
    return picture;
}

using Pipe = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

// The picture is passed on from here, where an output that can't be written is noticed.
void draw(Picture const& picture, std::string const& format) {
    int const memory = memfd_create("script", 0);  // inherited by gnuplot
    Stream const script(fdopen(memory, "w"));
    if (!script) throw CantRead("no memory for the picture");
    writeScript(script.get(), picture, format);
    std::fflush(script.get());
    // Its settings files and locale are left out: a picture is to look the same everywhere.
    std::string const command = "LC_ALL=C.UTF-8 gnuplot -d /dev/fd/" + std::to_string(memory);
    Pipe gnuplot(popen(command.c_str(), "r"), pclose);
    if (!gnuplot) throw CantRead("gnuplot can't be started");
    char piece[4096];
    while (std::size_t const size = std::fread(piece, 1, sizeof piece, gnuplot.get())) {
        std::fwrite(piece, 1, size, stdout);
    }
    if (pclose(gnuplot.release()) != 0) throw CantRead("gnuplot failed");
}

}  // namespace

void plot(Options const& options, Status& status) {
    for (AnyLog const& any : chosenLogs(options, status)) {
        std::visit(
            [&](auto const& log) {
                complainOfLosses(log, options.damaged ? Advice::None : Advice::ShowDamaged, status);
                draw(pictureOf(log, options, status), options.image);
            },
            any);
    }
}

}  // namespace ZEB::tool
