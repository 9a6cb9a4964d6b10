#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "Table.h"
#include "msgclasses/MeasurementRecord.h"

namespace ZEB::tool {

using ValueKind = MeasurementRecord::ValueKind;

// "temperature"; "kind_77" for a kind that the records have no name for.
std::string const& kindName(ValueKind kind);

template <class Visit>
void forEachValue(MeasurementRecord const& record, Visit const& visit) {
    for (std::size_t i = 0; i < MeasurementRecord::MaxValues; ++i) {
        ValueKind const kind = record.kind(i);
        if (kind != ValueKind::None) visit(kind, record.value(i));
    }
}

// "temperature=21.5 load=0"
std::string valuesText(MeasurementRecord const& record);

// The same as fields of their own; a record's second temperature is temperature_2.
std::vector<NamedCell> namedValues(MeasurementRecord const& record);

// The columns of measured values: one for each named kind, then others as
// they are needed, up to a limit that only random bytes exceed.
class ValueColumns {
  public:
    ValueColumns();

    void makeRoom(MeasurementRecord const& record);
    std::vector<Heading> headings() const;
    // Appends a cell for each column; false when there is no column for a value.
    bool appendCells(MeasurementRecord const& record, std::vector<Cell>& cells) const;

  private:
    using Key = std::pair<ValueKind, int>;  // a kind, and which of a record's values of it

    std::map<Key, std::size_t> mColumns;
};

}  // namespace ZEB::tool
