#include "Fields.h"

#include "Values.h"

namespace ZEB::tool {

namespace {

template <class Record>
std::vector<Field<Record>> withCommon(std::vector<Field<Record>> fields) {
    using R = Record;
    std::vector<Field<R>> const common = {
        {{"utc_offset", 10},
         [](R const& r) -> Cell { return std::int64_t{r.timeStamp().utcOffset()}; }},
        {{"uptime", 10}, [](R const& r) -> Cell { return std::int64_t{r.timeStamp().uptime()}; }},
        {{"client", 6}, [](R const& r) -> Cell { return std::int64_t{r.client()}; }}};
    fields.insert(fields.begin(), common.begin(), common.end());
    return fields;
}

}  // namespace

std::vector<Field<EventMsg>> const& fieldsOf(EventMsg const&) {
    using R = EventMsg;
    static auto const fields = withCommon<R>(
        {{{"code", 5}, [](R const& r) -> Cell { return std::int64_t{r.code()}; }},
         {{"severity", 8}, [](R const& r) -> Cell { return std::int64_t{r.severity()}; }},
         {{"latitude", 12}, [](R const& r) -> Cell { return r.location().latitude / 1e7; }},
         {{"longitude", 12}, [](R const& r) -> Cell { return r.location().longitude / 1e7; }},
         {{"altitude", 9}, [](R const& r) -> Cell { return r.location().altitude / 1e3; }},
         {{"message", -30}, [](R const& r) -> Cell { return r.text(); }}});
    return fields;
}

std::vector<Field<LightSourceRecord>> const& fieldsOf(LightSourceRecord const&) {
    using R = LightSourceRecord;
    static auto const fields = withCommon<R>(
        {{{"lamp_key", 10}, [](R const& r) -> Cell { return std::int64_t{r.key()}; }},
         {{"lamp", 6}, [](R const& r) -> Cell { return std::int64_t{r.lampKind()}; }},
         {{"burning_ms", 14}, [](R const& r) -> Cell { return r.burningTime(); }},
         {{"ignitions", 9}, [](R const& r) -> Cell { return std::int64_t{r.ignitions()}; }}});
    return fields;
}

std::vector<Field<MeasurementRecord>> const& fieldsOf(MeasurementRecord const&) {
    using R = MeasurementRecord;
    static auto const fields = withCommon<R>(
        {{{"method_id", 9}, [](R const& r) -> Cell { return std::int64_t{r.method()}; }},
         {{"channel", 7}, [](R const& r) -> Cell { return std::int64_t{r.channel()}; }}});
    return fields;
}

}  // namespace ZEB::tool
