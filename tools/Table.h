#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace ZEB::tool {

enum class Format { Aligned, Tsv, Csv, Json, JsonLines };

// Without a value: an empty field, JSON's null.
using Cell = std::variant<std::monostate, bool, std::int64_t, std::uint64_t, double, std::string>;

using NamedCell = std::pair<std::string, Cell>;

struct Heading {
    std::string name;
    int width;  // of an aligned column; negative: aligned at the left
};

// Rows on standard output, each written at once, so that any number of them takes no
// memory; only where widths are fitted all wait for the last one.
class Table {
  public:
    enum class Widths { Given, Fitted };  // fitted: aligned rows wait for the last one

    Table(Format format, std::vector<Heading> headings, Widths widths = Widths::Given);

    // more: what only this row has, which JSON alone can show.
    void row(std::vector<Cell> const& cells, std::vector<NamedCell> const& more = {});
    void end();

  private:
    void textRow(std::vector<std::string> const& texts);
    void align(std::vector<std::string> const& texts);
    void appendField(Cell const& cell);
    void appendObject(std::vector<Cell> const& cells, std::vector<NamedCell> const& more);
    void appendMember(std::string const& name, Cell const& cell);
    void write();

    Format mFormat;
    std::vector<Heading> mHeadings;
    Widths mWidths;
    bool mEmpty = true;
    std::string mLine;
    std::vector<std::vector<std::string>> mWaiting;
};

}  // namespace ZEB::tool
