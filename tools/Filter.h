#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "Times.h"
#include "msgclasses/EventMsg.h"
#include "msgclasses/LightSourceRecord.h"
#include "msgclasses/MeasurementRecord.h"

namespace CLI {
class App;
}

namespace ZEB::tool {

// Numbers and ranges of numbers, such as "3", "3,5" or "100-199,300-"; while none
// is named, all are meant.
class Numbers {
  public:
    // False, and nothing taken over, when the text is no such list.
    bool parse(std::string const& text);

    bool areAll() const { return mRanges.empty(); }
    bool contain(std::uint32_t number) const { return areAll() || isNamed(number); }

  private:
    bool isNamed(std::uint32_t number) const;

    std::vector<std::pair<std::uint32_t, std::uint32_t>> mRanges;  // both ends included
};

// Which records are meant, by their time and by what they hold.
struct Filter {
    Period period;
    Numbers severity;
    Numbers code;
    std::string text;  // to be found within an event's
    Numbers lamp;
    Numbers method;
    Numbers channel;
    Numbers client;

    bool matches(EventMsg const& record) const {
        return period.contains(record.timeStamp().seconds()) &&
               severity.contain(record.severity()) && code.contain(record.code()) &&
               client.contain(record.client()) &&
               (text.empty() || record.text().find(text) != std::string::npos);
    }
    bool matches(LightSourceRecord const& record) const {
        return period.contains(record.timeStamp().seconds()) && lamp.contain(record.lampKind()) &&
               client.contain(record.client());
    }
    bool matches(MeasurementRecord const& record) const {
        return period.contains(record.timeStamp().seconds()) && method.contain(record.method()) &&
               channel.contain(record.channel()) && client.contain(record.client());
    }

    // Throws WrongUsage when the period ends before it begins.
    void requirePeriod() const;
    // The same, and when it names a field that the log's records do not have.
    void requireFitFor(std::string const& log) const;
};

void addFilter(CLI::App& command, Filter& filter);

}  // namespace ZEB::tool
