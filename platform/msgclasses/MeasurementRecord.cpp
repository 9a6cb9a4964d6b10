#include "msgclasses/MeasurementRecord.h"

#include <cstdio>
#include <ctime>

namespace ZEB {

namespace {

constexpr char const* KindNames[] = {"none",          "intensity",   "wavelength", "absorbance",
                                     "concentration", "temperature", "pressure",   "humidity",
                                     "voltage",       "load",        "free_memory"};
constexpr std::size_t KindCount = sizeof KindNames / sizeof *KindNames;

std::tm localTime(TimeStamp const& time) {
    std::time_t const seconds = std::time_t{time.seconds()} + 60 * time.utcOffset();
    std::tm broken{};
    gmtime_r(&seconds, &broken);
    return broken;
}

}  // namespace

char const* MeasurementRecord::GetHeader(char* buffer, unsigned long size) {
    std::snprintf(buffer, size, "Date\tTime\tMethod\tChannel\tValues\n");
    return buffer;
}

char const* MeasurementRecord::GetDateText(char* buffer, unsigned long size) const {
    std::tm const time = localTime(timeStamp());
    std::snprintf(buffer, size, "%04d-%02d-%02d", time.tm_year + 1900, time.tm_mon + 1,
                  time.tm_mday);
    return buffer;
}

char const* MeasurementRecord::GetTimeText(char* buffer, unsigned long size) const {
    std::tm const time = localTime(timeStamp());
    std::snprintf(buffer, size, "%02d:%02d:%02d.%06u", time.tm_hour, time.tm_min, time.tm_sec,
                  static_cast<unsigned>(timeStamp().microseconds()));
    return buffer;
}

std::string MeasurementRecord::asText() const {
    char text[48];
    std::snprintf(text, sizeof text, "%u\t%u\t", unsigned{method()}, unsigned{channel()});
    std::string result = text;
    char const* separator = "";
    for (std::size_t i = 0; i < MaxValues; ++i) {
        auto const number = static_cast<std::size_t>(kind(i));
        if (number == 0) continue;
        std::snprintf(text, sizeof text, "=%.9g", value(i));
        result += separator;
        result += number < KindCount ? KindNames[number] : "unknown";
        result += text;
        separator = " ";
    }
    return result;
}

}  // namespace ZEB
