#include "Table.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "Text.h"

namespace ZEB::tool {

namespace {

// All but texts, which each format writes in its own way.
void appendValue(std::string& out, Cell const& cell) {
    if (auto const* const yes = std::get_if<bool>(&cell)) {
        out += *yes ? "yes" : "no";
    } else if (auto const* const real = std::get_if<double>(&cell)) {
        appendNumber(out, *real);
    } else {
        char digits[32];
        char* end = digits;
        char* const limit = digits + sizeof digits;
        if (auto const* const number = std::get_if<std::int64_t>(&cell)) {
            end = std::to_chars(digits, limit, *number).ptr;
        } else if (auto const* const natural = std::get_if<std::uint64_t>(&cell)) {
            end = std::to_chars(digits, limit, *natural).ptr;
        }
        out.append(digits, end);
    }
}

void appendCsv(std::string& out, std::string const& bytes) {
    std::size_t const begin = out.size();
    appendText(out, bytes, Escapes::Csv);
    // An empty text is told from an absent one.
    if (!bytes.empty() && out.find_first_of(",\"\t\r\n", begin) == std::string::npos) return;
    for (std::size_t at = begin; (at = out.find('"', at)) != std::string::npos; at += 2) {
        out.insert(at, 1, '"');
    }
    out.insert(begin, 1, '"');
    out += '"';
}

void appendJson(std::string& out, Cell const& cell) {
    auto const* const real = std::get_if<double>(&cell);
    if (auto const* const text = std::get_if<std::string>(&cell)) {
        out += '"';
        appendText(out, *text, Escapes::Json);
        out += '"';
    } else if (auto const* const yes = std::get_if<bool>(&cell)) {
        out += *yes ? "true" : "false";
    } else if (cell.index() == 0 || (real != nullptr && !std::isfinite(*real))) {
        out += "null";  // JSON has no word for it
    } else {
        appendValue(out, cell);
    }
}

}  // namespace

Table::Table(Format format, std::vector<Heading> headings, Widths widths)
    : mFormat(format), mHeadings(std::move(headings)), mWidths(widths) {
    if (mFormat == Format::Json) std::putchar('[');
    if (mFormat == Format::Json || mFormat == Format::JsonLines) return;
    std::vector<Cell> names;
    for (Heading const& heading : mHeadings) names.emplace_back(heading.name);
    row(names);
}

void Table::row(std::vector<Cell> const& cells, std::vector<NamedCell> const& more) {
    mLine.clear();
    if (mFormat == Format::Json || mFormat == Format::JsonLines) {
        appendObject(cells, more);
    } else if (mFormat == Format::Aligned) {
        std::vector<std::string> texts(cells.size());
        for (std::size_t i = 0; i < cells.size(); ++i) {
            auto const* const text = std::get_if<std::string>(&cells[i]);
            if (text != nullptr) appendText(texts[i], *text, Escapes::Backslash);
            if (text == nullptr) appendValue(texts[i], cells[i]);
        }
        textRow(texts);
        return;
    } else {
        for (Cell const& cell : cells) appendField(cell);
        mLine.back() = '\n';
    }
    write();
}

// With a separator after it.
void Table::appendField(Cell const& cell) {
    auto const* const text = std::get_if<std::string>(&cell);
    if (text == nullptr) {
        appendValue(mLine, cell);
    } else if (mFormat == Format::Csv) {
        appendCsv(mLine, *text);
    } else {
        appendText(mLine, *text, Escapes::Backslash);
    }
    mLine += mFormat == Format::Csv ? ',' : '\t';
}

void Table::appendObject(std::vector<Cell> const& cells, std::vector<NamedCell> const& more) {
    if (mFormat == Format::Json) mLine += mEmpty ? "\n" : ",\n";
    mEmpty = false;
    mLine += '{';
    for (std::size_t i = 0; i < cells.size(); ++i) appendMember(mHeadings[i].name, cells[i]);
    for (auto const& [name, cell] : more) appendMember(name, cell);
    mLine.back() = '}';
    if (mFormat == Format::JsonLines) mLine += '\n';
}

// With a comma after it.
void Table::appendMember(std::string const& name, Cell const& cell) {
    mLine += '"';
    mLine += name;
    mLine += "\":";
    appendJson(mLine, cell);
    mLine += ',';
}

void Table::textRow(std::vector<std::string> const& texts) {
    if (mWidths == Widths::Given) {
        align(texts);
        return;
    }
    for (std::size_t i = 0; i < texts.size(); ++i) {
        int& width = mHeadings[i].width;
        int const needed = static_cast<int>(columnsOf(texts[i]));
        if (needed > std::abs(width)) width = width < 0 ? -needed : needed;
    }
    mWaiting.push_back(texts);
}

void Table::align(std::vector<std::string> const& texts) {
    mLine.clear();
    for (std::size_t i = 0; i < texts.size(); ++i) {
        int const width = mHeadings[i].width;
        std::string const text = texts[i].empty() ? "-" : texts[i];
        auto const room = static_cast<std::size_t>(std::abs(width));
        std::size_t const padding = room - std::min(room, columnsOf(text));
        if (width > 0) mLine.append(padding, ' ');
        mLine += text;
        if (width < 0) mLine.append(padding, ' ');
        mLine += "  ";
    }
    mLine.erase(mLine.find_last_not_of(' ') + 1);
    mLine += '\n';
    write();
}

void Table::write() { std::fwrite(mLine.data(), 1, mLine.size(), stdout); }

void Table::end() {
    for (auto const& texts : mWaiting) align(texts);
    if (mFormat == Format::Json) std::fputs("\n]\n", stdout);
}

}  // namespace ZEB::tool
