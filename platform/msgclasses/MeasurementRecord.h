#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "msgclasses/TimeStamp.h"
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

    MeasurementRecord() {}
    MeasurementRecord(TimeStamp const& time, std::uint16_t method, std::uint16_t channel = 0) {
        setTimeStamp(time);
        setMethod(method);
        setChannel(channel);
    }

    bool isValid() const { return method() != 0; }
    std::uint16_t method() const { return get<Method>(); }
    std::uint16_t client() const { return get<Client>(); }
    std::uint16_t channel() const { return get<Channel>(); }
    // index: 0 to MaxValues - 1. The kind None marks a place without a value.
    ValueKind kind(std::size_t index) const {
        return static_cast<ValueKind>(get<std::uint16_t>(kindOffset(index)));
    }
    double value(std::size_t index) const { return get<double>(valueOffset(index)); }

    void setMethod(std::uint16_t method) { set<Method>(method); }
    void setClient(unsigned short client) { set<Client>(client); }
    void setChannel(std::uint16_t channel) { set<Channel>(channel); }
    void setValue(std::size_t index, ValueKind kind, double value) {
        set(kindOffset(index), static_cast<std::uint16_t>(kind));
        set(valueOffset(index), value);
    }

    // The texts of an export. The first three are written into the caller's buffer of
    // size bytes, cut if they do not fit, and returned. Times have the record's UTC offset.
    static char const* GetHeader(char* buffer, unsigned long size);
    char const* GetDateText(char* buffer, unsigned long size) const;
    char const* GetTimeText(char* buffer, unsigned long size) const;
    std::string asText() const;

  private:
    using Method = WireField<std::uint16_t, TimeStampEnd>;
    using Client = WireField<std::uint16_t, Method::End>;
    using Channel = WireField<std::uint16_t, Client::End>;
    // Then each value: its kind, and the number itself.
    static constexpr std::size_t ValueSize = sizeof(ValueKind) + sizeof(double);
    static_assert(Channel::End + MaxValues * ValueSize == 110);

    static constexpr std::size_t kindOffset(std::size_t index) {
        return Channel::End + index * ValueSize;
    }
    static constexpr std::size_t valueOffset(std::size_t index) {
        return kindOffset(index) + sizeof(ValueKind);
    }
};

}  // namespace ZEB
