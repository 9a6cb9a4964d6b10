#include "Values.h"

#include <algorithm>
#include <array>

#include "Text.h"

namespace ZEB::tool {

namespace {

// The records' own text, "method TAB channel TAB name=value", is where kinds have
// their names; the first one without a name is "unknown", as are all after it.
std::vector<std::string> namedKinds() {
    std::vector<std::string> names(1);
    for (;;) {
        MeasurementRecord record;
        record.setValue(0, static_cast<ValueKind>(names.size()), 0);
        std::string const text = record.asText();
        std::size_t const begin = text.rfind('\t') + 1;
        std::string const name = text.substr(begin, text.find('=') - begin);
        if (name == "unknown") return names;
        names.push_back(name);
    }
}

std::vector<std::string> const& names() {
    static auto const names = namedKinds();
    return names;
}

// Columns are loaded into databases.
std::string columnName(ValueKind kind, int number) {
    std::string name = kindName(kind);
    if (name == "load") name += "_value";  // an SQL keyword
    return number > 1 ? name + '_' + std::to_string(number) : name;
}

// visit(kind, number, value), for a record's number-th value of that kind.
template <class Visit>
void forEachNumbered(MeasurementRecord const& record, Visit const& visit) {
    std::array<ValueKind, MeasurementRecord::MaxValues> kinds{};
    std::size_t count = 0;
    forEachValue(record, [&](ValueKind kind, double value) {
        auto const end = kinds.begin() + static_cast<std::ptrdiff_t>(count);
        auto const before = std::count(kinds.begin(), end, kind);
        kinds[count++] = kind;
        visit(kind, static_cast<int>(before) + 1, value);
    });
}

constexpr std::size_t MostColumns = 200;

}  // namespace

std::string const& kindName(ValueKind kind) {
    auto const number = static_cast<std::size_t>(kind);
    if (number < names().size()) return names()[number];
    static std::map<std::size_t, std::string> others;
    return others.try_emplace(number, "kind_" + std::to_string(number)).first->second;
}

std::string valuesText(MeasurementRecord const& record) {
    std::string text;
    forEachValue(record, [&](ValueKind kind, double value) {
        if (!text.empty()) text += ' ';
        text += kindName(kind);
        text += '=';
        appendNumber(text, value);
    });
    return text;
}

std::vector<NamedCell> namedValues(MeasurementRecord const& record) {
    std::vector<NamedCell> values;
    forEachNumbered(record, [&](ValueKind kind, int number, double value) {
        values.emplace_back(columnName(kind, number), value);
    });
    return values;
}

ValueColumns::ValueColumns() {
    for (std::size_t kind = 1; kind < names().size(); ++kind) {
        mColumns.emplace(Key(static_cast<ValueKind>(kind), 1), mColumns.size());
    }
}

void ValueColumns::makeRoom(MeasurementRecord const& record) {
    forEachNumbered(record, [&](ValueKind kind, int number, double) {
        if (mColumns.size() < MostColumns) mColumns.try_emplace(Key(kind, number), mColumns.size());
    });
}

std::vector<Heading> ValueColumns::headings() const {
    std::vector<Heading> headings(mColumns.size());
    for (auto const& [key, column] : mColumns) {
        headings[column] = {columnName(key.first, key.second), 12};
    }
    return headings;
}

bool ValueColumns::appendCells(MeasurementRecord const& record, std::vector<Cell>& cells) const {
    bool complete = true;
    std::size_t const begin = cells.size();
    cells.resize(begin + mColumns.size());
    forEachNumbered(record, [&](ValueKind kind, int number, double value) {
        auto const found = mColumns.find(Key(kind, number));
        complete = complete && found != mColumns.end();
        if (found != mColumns.end()) cells[begin + found->second] = value;
    });
    return complete;
}

}  // namespace ZEB::tool
