#pragma once

#include <string>
#include <vector>

#include "Kinds.h"
#include "Table.h"

namespace ZEB::tool {

// What is shown of a record apart from its place and time, column by column. No name is
// an SQL keyword, so that tables can be made of them.
template <class Record>
struct Field {
    Heading heading;
    Cell (*value)(Record const&);
};

std::vector<Field<EventMsg>> const& fieldsOf(EventMsg const&);
std::vector<Field<LightSourceRecord>> const& fieldsOf(LightSourceRecord const&);
std::vector<Field<MeasurementRecord>> const& fieldsOf(MeasurementRecord const&);

}  // namespace ZEB::tool
