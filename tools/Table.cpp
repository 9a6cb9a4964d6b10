#include "Table.h"

#include <csv.h>

#include <cmath>
#include <cstdio>
#include <utility>

namespace ZEB::tool {

namespace {

// A list of small objects, such as a measurement's values, becomes "a=1 b=2".
std::string textOf(Json const& cell) {
    if (cell.is_null()) return "";
    if (cell.is_string()) return cell.get<std::string>();
    if (cell.is_boolean()) return cell.get<bool>() ? "yes" : "no";
    if (cell.is_number_float() && !std::isfinite(cell.get<double>())) {
        return std::to_string(cell.get<double>());  // JSON has no word for it
    }
    if (!cell.is_structured()) return cell.dump();
    std::string text;
    for (Json const& part : cell) {
        if (!text.empty()) text += cell.is_array() ? ' ' : '=';
        text += textOf(part);
    }
    return text;
}

std::string escaped(std::string const& text) {
    std::string result;
    for (char const character : text) {
        auto const code = static_cast<unsigned char>(character);
        if (code >= 0x20 && code != 0x7f) {
            result += character;
            continue;
        }
        char escape[8];
        std::snprintf(escape, sizeof escape, "\\x%02x", unsigned{code});
        result += escape;
    }
    return result;
}

}  // namespace

Table::Table(Format format, std::vector<Heading> headings, bool endless)
    : mFormat(format), mHeadings(std::move(headings)), mEndless(endless) {
    if (mFormat == Format::Objects) {
        if (!mEndless) std::putchar('[');
        return;
    }
    std::vector<Json> names;
    for (Heading const& heading : mHeadings) names.emplace_back(heading.name);
    row(names);
}

void Table::row(std::vector<Json> const& cells) {
    if (mFormat == Format::Objects) {
        object(cells);
        return;
    }
    std::vector<std::string> texts;
    texts.reserve(cells.size());
    for (Json const& cell : cells) texts.push_back(textOf(cell));
    if (mFormat == Format::Aligned) {
        aligned(texts);
    } else {
        separated(texts);
    }
}

void Table::separated(std::vector<std::string> const& texts) {
    char const* separator = "";
    for (std::string const& text : texts) {
        std::fputs(separator, stdout);
        if (mFormat == Format::Tsv) {
            std::fputs(escaped(text).c_str(), stdout);
        } else if (text.find_first_of(",\"\r\n") != std::string::npos) {
            csv_fwrite(stdout, text.data(), text.size());
        } else {
            std::fputs(text.c_str(), stdout);
        }
        separator = mFormat == Format::Tsv ? "\t" : ",";
    }
    std::putchar('\n');
}

void Table::aligned(std::vector<std::string> const& texts) {
    std::string line;
    for (std::size_t i = 0; i < texts.size(); ++i) {
        int const width = mHeadings[i].width;
        std::string const text = texts[i].empty() ? "-" : escaped(texts[i]);
        auto const room = static_cast<std::size_t>(width < 0 ? -width : width);
        std::string const padding(room > text.size() ? room - text.size() : 0, ' ');
        line += width < 0 ? text + padding : padding + text;
        line += "  ";
    }
    line.erase(line.find_last_not_of(' ') + 1);
    std::puts(line.c_str());
}

void Table::object(std::vector<Json> const& cells) {
    Json object = Json::object();
    for (std::size_t i = 0; i < cells.size(); ++i) object[mHeadings[i].name] = cells[i];
    if (!mEndless) std::fputs(mEmpty ? "\n" : ",\n", stdout);
    mEmpty = false;
    // Texts come from the instrument in whatever encoding.
    std::fputs(object.dump(-1, ' ', false, Json::error_handler_t::replace).c_str(), stdout);
    if (mEndless) std::putchar('\n');
}

void Table::end() {
    if (mFormat == Format::Objects && !mEndless) std::fputs("\n]\n", stdout);
}

}  // namespace ZEB::tool
