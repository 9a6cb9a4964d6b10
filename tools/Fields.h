#pragma once

#include <functional>
#include <string>
#include <vector>

#include "Kinds.h"
#include "Table.h"

namespace ZEB::tool {

// What is shown of a record, column by column.
template <class Record>
struct Field {
    Heading heading;
    Json (*value)(Record const&);
};

template <class Record>
std::vector<Field<Record>> const& fieldsOf();
template <>
std::vector<Field<EventMsg>> const& fieldsOf<EventMsg>();
template <>
std::vector<Field<LightSourceRecord>> const& fieldsOf<LightSourceRecord>();
template <>
std::vector<Field<MeasurementRecord>> const& fieldsOf<MeasurementRecord>();

// What a plot draws of a record: the value of each named curve. Events have none.
using Curve = std::function<void(std::string const& name, double value)>;
void drawRecord(EventMsg const& record, Curve const& curve);
void drawRecord(LightSourceRecord const& record, Curve const& curve);
void drawRecord(MeasurementRecord const& record, Curve const& curve);

}  // namespace ZEB::tool
