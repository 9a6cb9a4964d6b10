#pragma once

#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "Commands.h"
#include "Fields.h"
#include "Values.h"

namespace ZEB::tool {

inline bool isJson(Format format) { return format == Format::Json || format == Format::JsonLines; }

// Prints the records of logs of one kind. In a table for eyes a measurement's values
// are one text, else each has a field of its own.
template <class Kind>
class Printer {
    using Record = typename Kind::Record;
    static constexpr bool HasValues = std::is_same_v<Record, MeasurementRecord>;

  public:
    // Whether the columns depend on what the records hold.
    static bool needsValueColumns(Options const& options) {
        return HasValues && options.format != Format::Aligned && !isJson(options.format);
    }

    Printer(Options const& options, ValueColumns values, Status& status)
        : mOptions(options),
          mValues(std::move(values)),
          mStatus(status),
          mTable(options.format, headings()) {}

    void print(Log<Kind> const& log, int file, int slot, Record const& record) {
        mCells.clear();
        if (mOptions.paths.size() > 1) mCells.emplace_back(log.origin);
        if (mOptions.damaged) mCells.emplace_back(log.isUnfit);
        mCells.emplace_back(std::int64_t{log.shownIndex + file});
        mCells.emplace_back(std::int64_t{slot});
        mCells.emplace_back(timeText(record.timeStamp(), mOptions.zone));
        for (Field<Record> const& field : fieldsOf(record)) mCells.push_back(field.value(record));
        if constexpr (HasValues) {
            if (isJson(mOptions.format)) {
                mTable.row(mCells, namedValues(record));
                return;
            }
            appendValues(record);
        }
        mTable.row(mCells);
    }

    void end() { mTable.end(); }

  private:
    void appendValues(MeasurementRecord const& record) {
        if (!needsValueColumns(mOptions)) {
            mCells.emplace_back(valuesText(record));
        } else if (!mValues.appendCells(record, mCells) && std::exchange(mIsComplete, false)) {
            mStatus.complain(Damage, "there are values without a column: json and jsonl show all");
        }
    }

    std::vector<Heading> headings() const {
        std::vector<Heading> headings{{"file", 4}, {"slot", 5}, {"recorded_at", -27}};
        if (mOptions.damaged) headings.insert(headings.begin(), {"damaged", -7});
        if (mOptions.paths.size() > 1) headings.insert(headings.begin(), {"source_path", -16});
        for (Field<Record> const& field : fieldsOf(Record())) headings.push_back(field.heading);
        if (needsValueColumns(mOptions)) {
            for (Heading const& heading : mValues.headings()) headings.push_back(heading);
        } else if (HasValues && !isJson(mOptions.format)) {
            headings.push_back({"measured", -30});
        }
        return headings;
    }

    Options const& mOptions;
    ValueColumns mValues;
    Status& mStatus;
    Table mTable;
    std::vector<Cell> mCells;
    bool mIsComplete = true;
};

}  // namespace ZEB::tool
