#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "msgclasses/WireRecord.h"

namespace ZEB {

// One measurement of up to nine values; 110 bytes serialised. Valid when its
// method is not 0, whatever its time.
class MeasurementRecord final : public WireRecord<110> {
  public:
    static constexpr std::size_t MaxValues = 9;

    enum class ValueKind : std::uint16_t {
        None,
        Intensity,
        Wavelength,
        Absorbance,
        Concentration,
        Temperature,
        Pressure,
        Humidity,
        Voltage,
        Load,
        FreeMemory
    };

    MeasurementRecord() = default;
    MeasurementRecord(TimeStamp const& time, std::uint16_t method, std::uint16_t channel = 0) {
        setTimeStamp(time);
        setMethod(method);
        setChannel(channel);
    }

    bool isValid() const { return method() != 0; }
    std::uint16_t method() const { return get<std::uint16_t>(14); }
    std::uint16_t client() const { return get<std::uint16_t>(16); }
    std::uint16_t channel() const { return get<std::uint16_t>(18); }
    // index: 0 to MaxValues - 1; a kind of None marks a place without a value.
    ValueKind kind(std::size_t index) const {
        return static_cast<ValueKind>(get<std::uint16_t>(valueOffset(index)));
    }
    double value(std::size_t index) const { return get<double>(valueOffset(index) + 2); }

    void setMethod(std::uint16_t method) { set(14, method); }
    void setClient(unsigned short client) { set(16, client); }
    void setChannel(std::uint16_t channel) { set(18, channel); }
    void setValue(std::size_t index, ValueKind kind, double value) {
        set(valueOffset(index), static_cast<std::uint16_t>(kind));
        set(valueOffset(index) + 2, value);
    }

    // The texts of an export: each is written into the caller's buffer of size
    // bytes, cut where it does not fit, and returned. Times are local to the record.
    static char const* GetHeader(char* buffer, unsigned long size);
    char const* GetDateText(char* buffer, unsigned long size) const;
    char const* GetTimeText(char* buffer, unsigned long size) const;
    std::string asText() const;

  private:
    static constexpr std::size_t valueOffset(std::size_t index) { return 20 + 10 * index; }
};

}  // namespace ZEB
