#include "Picture.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>

#include "TimeAxis.h"

namespace ZEB::tool {

namespace {

// In pixels.
constexpr int Width = 1200;
constexpr int Left = 110;
constexpr int Right = 50;
constexpr int TitleHeight = 40;
constexpr int HeadingHeight = 30;
constexpr int KeyHeight = 70;
constexpr int AxisHeight = 70;
constexpr int TickDistance = 110;

constexpr std::size_t FewStretches = 100;
constexpr std::uint64_t FewEvents = 9;

struct Colour {
    char const* line;
    char const* band;
};
// Told apart by the colour-blind, too.
constexpr Colour Colours[] = {
    {"#0072b2", "#8cc1df"}, {"#d55e00", "#efb98c"}, {"#009e73", "#8cd3bf"},
    {"#cc79a7", "#e8c5d8"}, {"#b28500", "#e0cc94"}, {"#56b4e9", "#bde1f7"},
    {"#606060", "#c4c4c4"}, {"#8a6bbe", "#cdbfe4"}, {"#b2a100", "#dcd58f"}};

Colour const& colour(std::size_t i) { return Colours[i % (sizeof Colours / sizeof *Colours)]; }

// Beyond these bounds gnuplot's own arithmetic fails.
double drawable(double value) {
    return std::abs(value) < 1e-300 ? 0 : std::clamp(value, -1e300, 1e300);
}

long long number(std::int64_t value) { return value; }

// Stands for itself in gnuplot.
std::string quoted(std::string const& text) {
    std::string result = "'";
    for (char const character : text) {
        if (static_cast<unsigned char>(character) < 0x20) continue;
        result += character;
        if (character == '\'') result += character;
    }
    return result + '\'';
}

class Script {
  public:
    Script(std::FILE* out, Picture const& picture)
        : mOut(out),
          mPicture(picture),
          mPanels(picture.stacked ? 1 : picture.panels.size()),
          mPanelHeight(mPanels == 1  ? 420
                       : mPanels < 4 ? 200
                       : mPanels < 9 ? 140
                                     : 110),
          mHeading(picture.stacked ? KeyHeight : HeadingHeight),
          mHeight(TitleHeight + static_cast<int>(mPanels) * (mHeading + mPanelHeight) + AxisHeight),
          mMargin(std::max<std::int64_t>(1, (picture.to - picture.from) / 100)) {}

    void write(std::string const& format) {
        std::fprintf(mOut,
                     "set terminal %s size %d,%d background 'white' font 'sans,%d'\n"
                     "set encoding utf8\nset multiplot\nset key off\nset tics nomirror\n"
                     "set border 3 lc '#606060'\nset grid lc '#e0e0e0' lt 1\n"
                     "set lmargin at screen %g\nset rmargin at screen %g\n"
                     "set xrange [%lld:%lld]\n",
                     format == "png" ? "pngcairo" : "svg", Width, mHeight, format == "png" ? 9 : 12,
                     share(Left, Width), 1 - share(Right, Width), number(-mMargin),
                     number(mPicture.to - mPicture.from + mMargin));
        for (std::size_t i = 0; i < mPanels; ++i) panel(i);
        std::fputs("unset multiplot\n", mOut);
    }

  private:
    static double share(int pixels, int of) { return static_cast<double>(pixels) / of; }

    void panel(std::size_t i) {
        int const top = TitleHeight + mHeading + static_cast<int>(i) * (mHeading + mPanelHeight);
        std::fprintf(mOut, "set tmargin at screen %g\nset bmargin at screen %g\nunset label\n",
                     1 - share(top, mHeight), 1 - share(top + mPanelHeight, mHeight));
        Panel const& panel = mPicture.panels[i];
        label(panel.quantity, "screen 0.014, graph 0.5 center rotate by 90");
        if (!mPicture.stacked) {
            label(panel.heading, "graph 0, graph 1 offset 0,0.8 left");
            label(panel.note, "graph 1, graph 1 offset 0,0.8 right textcolor '#606060'");
        }
        if (i == 0) {
            label(mPicture.title,
                  "screen 0.5, screen " + std::to_string(1 - share(22, mHeight)) + " center");
        }
        bool const isLast = i + 1 == mPanels;
        if (isLast) {
            label(mPicture.footnote, "screen " + std::to_string(share(Left, Width)) + ", screen " +
                                         std::to_string(share(14, mHeight)) +
                                         " left textcolor '#606060'");
        }
        ticks(isLast);
        if (mPicture.stacked) {
            counts();
        } else {
            curve(i);
        }
    }

    void label(std::string const& text, std::string const& where) {
        std::fprintf(mOut, "set label %s noenhanced at %s\n", quoted(text).c_str(), where.c_str());
    }

    void ticks(bool labelled) {
        constexpr std::size_t Most = (Width - Left - Right) / TickDistance;
        char const* separator = "set xtics (";
        auto const ticks = timeTicks(mPicture.from - mMargin, mPicture.to + mMargin, Most);
        for (Tick const& tick : ticks) {
            std::string text = tick.time;
            if (!tick.date.empty()) text += (text.empty() ? "" : "\\n") + tick.date;
            std::fprintf(mOut, "%s\"%s\" %lld", separator, labelled ? text.c_str() : "",
                         number(tick.seconds - mPicture.from));
            separator = ", ";
        }
        std::fputs(ticks.empty() ? "unset xtics\n" : ")\n", mOut);
    }

    // Lines between the means and a band from the least to the greatest, broken at
    // pauses; what stands alone between two pauses is a dot.
    void curve(std::size_t i) {
        Curve const& curve = mPicture.panels[i].curve;
        scale(curve);
        bool const hasRuns = points(curve, "$runs", false);
        bool const hasDots = points(curve, "$dots", true);
        auto const [line, band] = colour(mPicture.panels[i].colour);
        std::fputs("plot ", mOut);
        if (hasRuns) {
            bool const isFew = curve.stretches.size() < FewStretches;
            // The band's edges are drawn, so that a lone spike is as wide as a line.
            std::fprintf(mOut,
                         "$runs using 1:3:4 with filledcurves lc '%s' fs solid noborder, $runs "
                         "using 1:3 with lines lc '%s', $runs using 1:4 with lines lc '%s', $runs "
                         "using 1:2 with %s lc '%s'%s",
                         band, band, band, isFew ? "linespoints pt 7 ps 0.5" : "lines", line,
                         hasDots ? ", " : "");
        }
        if (hasDots) {
            std::fprintf(mOut, "$dots using 1:2:3:4 with yerrorbars pt 7 ps 0.5 lc '%s'", line);
        }
        std::fputs("\n", mOut);
    }

    void scale(Curve const& curve) {
        double least = std::numeric_limits<double>::max();
        double greatest = std::numeric_limits<double>::lowest();
        for (Stretch const& stretch : curve.stretches) {
            least = std::min(least, drawable(stretch.least));
            greatest = std::max(greatest, drawable(stretch.greatest));
        }
        double const largest = std::max(std::abs(least), std::abs(greatest));
        double const span = greatest - least;
        double const space = span > largest * 1e-9 ? span / 20 : largest > 0 ? largest / 10 : 1;
        std::fprintf(mOut, "set yrange [%.17g:%.17g]\nset format y '%s'\n", least - space,
                     greatest + space, largest >= 1e5 && largest < 1e24 ? "%.4s %c" : "%.5g");
    }

    // Times count from the picture's first, since gnuplot would round them.
    bool points(Curve const& curve, char const* name, bool alone) {
        std::fprintf(mOut, "%s << EOD\n", name);
        bool hasAny = false;
        bool begins = true;
        for (std::size_t i = 0; i < curve.stretches.size(); ++i) {
            Stretch const& stretch = curve.stretches[i];
            bool const ends = i + 1 == curve.stretches.size() || curve.pausesAfter(i);
            if ((begins && ends) == alone) {
                std::fprintf(mOut, "%lld %.17g %.17g %.17g\n%s",
                             number(stretch.middle(mPicture.width) - mPicture.from),
                             drawable(stretch.mean()), drawable(stretch.least),
                             drawable(stretch.greatest), ends ? "\n" : "");
                hasAny = true;
            }
            begins = ends;
        }
        std::fputs("EOD\n", mOut);
        return hasAny;
    }

    void counts() {
        std::map<std::int32_t, std::uint64_t> below;
        for (std::size_t i = 0; i < mPicture.panels.size(); ++i) {
            std::fprintf(mOut, "$counts%zu << EOD\n", i);
            for (Stretch const& stretch : mPicture.panels[i].curve.stretches) {
                std::int64_t const begin = stretch.index * mPicture.width - mPicture.from;
                std::uint64_t& bottom = below[stretch.index];
                std::uint64_t const top = bottom + stretch.count;
                std::fprintf(
                    mOut, "%lld %lld %llu %llu\n", number(begin), number(begin + mPicture.width),
                    static_cast<unsigned long long>(bottom), static_cast<unsigned long long>(top));
                bottom = top;
            }
            std::fputs("EOD\n", mOut);
        }
        std::uint64_t most = 0;
        for (auto const& [index, count] : below) most = std::max(most, count);
        std::fprintf(mOut,
                     "set yrange [0:*]\nset format y '%%.6g'\nset ytics %s\n"
                     "set key at graph 0, graph 1.01 left bottom horizontal Left reverse "
                     "noenhanced samplen 1 width -2\nplot ",
                     most < FewEvents ? "1" : "autofreq");
        for (std::size_t i = 0; i < mPicture.panels.size(); ++i) {
            std::fprintf(
                mOut,
                "%s$counts%zu using 1:3:1:2:3:4 with boxxyerror lc '%s' fs solid noborder "
                "title %s",
                i > 0 ? ", " : "", i, colour(mPicture.panels[i].colour).line,
                quoted(mPicture.panels[i].heading + ": " + mPicture.panels[i].note).c_str());
        }
        std::fputs("\n", mOut);
    }

    std::FILE* mOut;
    Picture const& mPicture;
    std::size_t mPanels;
    int mPanelHeight;
    int mHeading;
    int mHeight;
    std::int64_t mMargin;  // in seconds, left and right of the records
};

}  // namespace

void writeScript(std::FILE* out, Picture const& picture, std::string const& format) {
    Script(out, picture).write(format);
}

}  // namespace ZEB::tool
