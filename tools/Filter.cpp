#include "Filter.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "Kinds.h"
#include "ParsedOption.h"
#include "Status.h"

namespace ZEB::tool {

bool Numbers::parse(std::string const& text) {
    constexpr auto Max = std::numeric_limits<std::uint32_t>::max();
    std::vector<std::pair<std::uint32_t, std::uint32_t>> ranges;
    char const* at = text.data();
    char const* const end = at + text.size();
    for (;;) {
        std::uint32_t from = 0;
        auto read = std::from_chars(at, end, from);
        if (read.ec != std::errc()) return false;
        std::uint32_t to = from;
        if (read.ptr != end && *read.ptr == '-') {
            at = read.ptr + 1;
            bool const isOpen = at == end || *at == ',';
            to = Max;
            read = isOpen ? std::from_chars_result{at, std::errc()} : std::from_chars(at, end, to);
            if (read.ec != std::errc() || to < from) return false;
        }
        ranges.emplace_back(from, to);
        at = read.ptr;
        if (at == end) break;
        if (*at++ != ',') return false;
    }
    mRanges = std::move(ranges);
    return true;
}

bool Numbers::isNamed(std::uint32_t number) const {
    return std::any_of(mRanges.begin(), mRanges.end(), [&](auto const& range) {
        return range.first <= number && number <= range.second;
    });
}

void Filter::requirePeriod() const {
    if (period.since > period.until) {
        throw WrongUsage("--since is later than --until: no record falls in between");
    }
}

void Filter::requireFitFor(std::string const& log) const {
    requirePeriod();
    struct {
        char const* option;
        bool given;
        char const* log;
    } const options[] = {{"--severity", !severity.areAll(), EventKind::Name},
                         {"--code", !code.areAll(), EventKind::Name},
                         {"--text", !text.empty(), EventKind::Name},
                         {"--lamp", !lamp.areAll(), LampKind::Name},
                         {"--method", !method.areAll(), MeasurementKind::Name},
                         {"--channel", !channel.areAll(), MeasurementKind::Name}};
    for (auto const& option : options) {
        if (option.given && log != option.log) {
            throw WrongUsage(std::string(option.option) + " chooses among " + option.log +
                             ", not among " + log);
        }
    }
}

void addFilter(CLI::App& command, Filter& filter) {
    auto const addNumbers = [&](char const* name, char const* help, Numbers& numbers) {
        addParsed(command, name, "NUMBERS", help,
                  "a list of numbers and ranges such as 3,5,100-199",
                  [&numbers](std::string const& text) { return numbers.parse(text); });
    };
    addNumbers("--severity", "Events of these severities only, such as 3,5 or 2-", filter.severity);
    addNumbers("--code", "Events of these codes only", filter.code);
    addParsed(command, "--text", "TEXT", "Only events whose text contains this", "a text",
              [&filter](std::string const& text) {
                  filter.text = text;
                  return true;
              });
    addNumbers("--lamp", "Statistics of these kinds of lamps only", filter.lamp);
    addNumbers("--method", "Measurements by these methods only", filter.method);
    addNumbers("--channel", "Measurements on these channels only", filter.channel);
    addNumbers("--client", "Records of these clients only", filter.client);
}

}  // namespace ZEB::tool
