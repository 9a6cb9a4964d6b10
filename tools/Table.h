#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace ZEB::tool {

using Json = nlohmann::ordered_json;

enum class Format { Aligned, Tsv, Csv, Objects };

struct Heading {
    char const* name;
    int width;  // of an aligned column; negative: aligned at the left
};

// Rows on standard output, each written at once, so that any number of them takes
// no memory. But for CSV, control characters become escapes.
class Table {
  public:
    // endless: no brackets around the rows of JSON, which nobody would close.
    Table(Format format, std::vector<Heading> headings, bool endless = false);

    void row(std::vector<Json> const& cells);
    void end();

  private:
    void separated(std::vector<std::string> const& texts);
    void aligned(std::vector<std::string> const& texts);
    void object(std::vector<Json> const& cells);

    Format mFormat;
    std::vector<Heading> mHeadings;
    bool mEndless;
    bool mEmpty = true;
};

}  // namespace ZEB::tool
