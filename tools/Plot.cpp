#include <sys/mman.h>

#include <cmath>
#include <cstdio>
#include <map>
#include <memory>

#include "Commands.h"
#include "Fields.h"
#include "Select.h"
#include "Survey.h"

namespace ZEB::tool {

namespace {

// No picture shows more points than this across, so a full ring is thinned out to
// the least and the greatest value of each stretch of time.
constexpr int Stretches = 2000;

struct Point {
    std::int64_t time;
    double value;
};

struct Extremes {
    Point least;
    Point greatest;
};

using Curves = std::map<std::string, std::map<std::int64_t, Extremes>>;

void add(std::map<std::int64_t, Extremes>& curve, std::int64_t stretch, Point const& point) {
    auto const [place, isNew] = curve.try_emplace(stretch, Extremes{point, point});
    if (isNew) return;
    Extremes& extremes = place->second;
    if (point.value < extremes.least.value) extremes.least = point;
    if (point.value > extremes.greatest.value) extremes.greatest = point;
}

template <class Kind>
Curves collect(Log<Kind> const& log, Options const& options, Status& status) {
    auto const spans = spansOf(log, findPlace(log, Gaps::AreSkipped));
    Progress progress(log.bytes());
    auto const cursor = [&](Order order) {
        return Cursor<Kind>(log, spans, {options.filter, order, progress, status});
    };
    auto const firstTime = [&](Order order) {
        Cursor<Kind> first = cursor(order);
        return first.next() ? std::int64_t{first.record().timeStamp().seconds()} : 0;
    };
    std::int64_t const from = firstTime(Order::OldestFirst);
    std::int64_t const width =
        std::max<std::int64_t>(1, (firstTime(Order::NewestFirst) - from) / Stretches);
    Curves curves;
    for (Cursor<Kind> all = cursor(Order::OldestFirst); all.next();) {
        std::int64_t const time = all.record().timeStamp().seconds();
        drawRecord(all.record(), [&](std::string const& name, double value) {
            bool const isMeant = options.curve.empty() || name == options.curve;
            if (isMeant && std::isfinite(value)) {
                add(curves[name], (time - from) / width, {time, value});
            }
        });
    }
    return curves;
}

void writeScript(std::FILE* out, Curves const& curves, std::string const& image,
                 std::string const& title) {
    std::fprintf(out,
                 "set terminal %s size 1200,600\n"
                 "set title '%s' noenhanced\nset key outside noenhanced\n"
                 "set xdata time\nset timefmt '%%s'\nset format x \"%%Y-%%m-%%d\\n%%H:%%M:%%S\"\n"
                 "set xlabel 'UTC'\nset grid\n",
                 image == "png" ? "pngcairo" : "svg", title.c_str());
    int number = 0;
    for (auto const& [name, curve] : curves) {
        std::fprintf(out, "$curve%d << EOD\n", number++);
        for (auto const& [stretch, extremes] : curve) {
            auto const& [least, greatest] = extremes;
            bool const leastFirst = least.time <= greatest.time;
            for (Point const& point :
                 {leastFirst ? least : greatest, leastFirst ? greatest : least}) {
                std::fprintf(out, "%lld %.17g\n", static_cast<long long>(point.time), point.value);
            }
        }
        std::fprintf(out, "EOD\n");
    }
    number = 0;
    for (auto const& [name, curve] : curves) {
        std::fprintf(out, "%s $curve%d using 1:2 with lines title '%s'", number == 0 ? "plot" : ",",
                     number, name.c_str());
        ++number;
    }
    std::fprintf(out, "\n");
}

using Stream = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

// The picture is passed on from here, where an output that can't be written is noticed.
void draw(Curves const& curves, std::string const& image, std::string const& title) {
    int const memory = memfd_create("script", 0);  // inherited by gnuplot
    Stream const script(fdopen(memory, "w"), std::fclose);
    if (!script) throw CantRead("no memory for the picture");
    writeScript(script.get(), curves, image, title);
    std::fflush(script.get());
    // Its settings files are left out: a picture is to look the same everywhere.
    std::string const command = "gnuplot -d /dev/fd/" + std::to_string(memory);
    Stream gnuplot(popen(command.c_str(), "r"), pclose);
    if (!gnuplot) throw CantRead("gnuplot can't be started");
    char piece[4096];
    while (std::size_t const size = std::fread(piece, 1, sizeof piece, gnuplot.get())) {
        std::fwrite(piece, 1, size, stdout);
    }
    if (pclose(gnuplot.release()) != 0) throw CantRead("gnuplot failed");
}

}  // namespace

void plot(Options const& options, Status& status) {
    auto const logs = chosenLogs(options, status);
    if (logs.empty()) return;
    AnyLog const& chosen = logs.front();
    if (std::holds_alternative<Log<EventKind>>(chosen)) {
        throw WrongUsage("events have no values to plot");
    }
    Curves curves;
    std::visit(
        [&](auto const& log) {
            complainOfLosses(log, Advice::None, status);
            curves = collect(log, options, status);
        },
        chosen);
    if (curves.empty()) throw CantRead("nothing to plot in " + options.paths.front());
    draw(curves, options.image, std::visit([](auto const& log) { return log.name(); }, chosen));
}

}  // namespace ZEB::tool
