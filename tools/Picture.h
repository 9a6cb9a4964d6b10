#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "Curves.h"

namespace ZEB::tool {

struct Panel {
    std::string heading;
    std::string note;  // at the right of the heading
    std::string quantity;
    std::size_t colour = 0;  // any number
    Curve curve{};
};

// Panels below each other over one time axis, or one with the counts of all of them
// stacked.
struct Picture {
    std::string title;
    std::string footnote;
    std::vector<Panel> panels;
    bool stacked = false;
    std::int64_t from = 0;  // seconds since 1970
    std::int64_t to = 0;
    std::int64_t width = 1;  // of the curves' stretches
};

// What gnuplot has to be told to draw it as "svg" or "png".
void writeScript(std::FILE* out, Picture const& picture, std::string const& format);

}  // namespace ZEB::tool
