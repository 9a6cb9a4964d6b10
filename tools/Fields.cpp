#include "Fields.h"

#include "Times.h"

namespace ZEB::tool {

namespace {

template <class Record>
Json time(Record const& record) {
    return timeText(record.timeStamp());
}

template <class Record>
std::vector<Field<Record>> withTimes(std::vector<Field<Record>> fields) {
    std::vector<Field<Record>> const times = {
        {{"time", -27}, time<Record>},
        {{"utc_offset", 10}, [](Record const& r) -> Json { return r.timeStamp().utcOffset(); }},
        {{"uptime", 10}, [](Record const& r) -> Json { return r.timeStamp().uptime(); }},
        {{"client", 6}, [](Record const& r) -> Json { return r.client(); }}};
    fields.insert(fields.begin(), times.begin(), times.end());
    return fields;
}

// The names of the kinds come from the record's own text, "name=value name=value".
template <class Visit>
void forEachValue(MeasurementRecord const& record, Visit const& visit) {
    std::string const text = record.asText();
    std::size_t at = text.rfind('\t') + 1;
    for (std::size_t i = 0; i < MeasurementRecord::MaxValues; ++i) {
        if (record.kind(i) == MeasurementRecord::ValueKind::None) continue;
        std::size_t const end = text.find('=', at);
        visit(text.substr(at, end - at), record.value(i));
        at = text.find(' ', end) + 1;
    }
}

Json values(MeasurementRecord const& record) {
    Json result = Json::array();
    forEachValue(record, [&](std::string const& kind, double value) {
        result.push_back({{"kind", kind}, {"value", value}});
    });
    return result;
}

}  // namespace

template <>
std::vector<Field<EventMsg>> const& fieldsOf<EventMsg>() {
    using R = EventMsg;
    static auto const fields = withTimes<R>(
        {{{"code", 5}, [](R const& r) -> Json { return r.code(); }},
         {{"severity", 8}, [](R const& r) -> Json { return r.severity(); }},
         {{"latitude", 12}, [](R const& r) -> Json { return r.location().latitude / 1e7; }},
         {{"longitude", 12}, [](R const& r) -> Json { return r.location().longitude / 1e7; }},
         {{"altitude", 9}, [](R const& r) -> Json { return r.location().altitude / 1e3; }},
         {{"text", -30}, [](R const& r) -> Json { return r.text(); }}});
    return fields;
}

template <>
std::vector<Field<LightSourceRecord>> const& fieldsOf<LightSourceRecord>() {
    using R = LightSourceRecord;
    static auto const fields =
        withTimes<R>({{{"key", 10}, [](R const& r) -> Json { return r.key(); }},
                      {{"lamp", 6}, [](R const& r) -> Json { return r.lampKind(); }},
                      {{"burning_ms", 14}, [](R const& r) -> Json { return r.burningTime(); }},
                      {{"ignitions", 9}, [](R const& r) -> Json { return r.ignitions(); }}});
    return fields;
}

template <>
std::vector<Field<MeasurementRecord>> const& fieldsOf<MeasurementRecord>() {
    using R = MeasurementRecord;
    static auto const fields =
        withTimes<R>({{{"method", 6}, [](R const& r) -> Json { return r.method(); }},
                      {{"channel", 7}, [](R const& r) -> Json { return r.channel(); }},
                      {{"values", -30}, values}});
    return fields;
}

void drawRecord(EventMsg const&, Curve const&) {}

void drawRecord(LightSourceRecord const& record, Curve const& curve) {
    std::string const lamp = "lamp " + std::to_string(record.lampKind());
    constexpr double MillisecondsOfHour = 3600e3;
    curve(lamp + " burning hours", static_cast<double>(record.burningTime()) / MillisecondsOfHour);
    curve(lamp + " ignitions", record.ignitions());
}

void drawRecord(MeasurementRecord const& record, Curve const& curve) {
    forEachValue(record, curve);
}

}  // namespace ZEB::tool
