#pragma once

#include <cstdint>

#include "msgclasses/LightSourceRecord.h"

namespace ZEB {

// What orders the records of a file; a greater key is newer.
template <class Record>
std::int32_t recordKey(Record const& record) {
    return record.timeStamp().seconds();
}
inline std::int32_t recordKey(LightSourceRecord const& record) { return record.key(); }

}  // namespace ZEB
