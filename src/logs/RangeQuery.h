#pragma once

#include <cstdint>
#include <iosfwd>

#include "logs/RingPosition.h"
#include "msgclasses/Var.h"

namespace ZEB {

// The bytes of the range queries. All integers are little-endian; bytes that a
// request lacks count as 0.

struct RangeRequest {
    std::int32_t first = 0;
    std::int32_t count = 0;
    std::uint16_t client = 0;
};

RangeRequest readRangeRequest(Var const& request);

// A first index before those held becomes the first one held, with the same count; nothing
// follows the last one held.
RangeRequest clampedTo(HeldRange held, RangeRequest request);

// Stores first and client for the caller and returns the count. A negative count
// requests no records and gives 0, since callers loop until their count is 0.
unsigned int handToCaller(RangeRequest const& request, unsigned int* first, unsigned short* client);

struct DateRange {
    std::uint32_t earlier = 0;
    std::uint32_t later = 0;
};

DateRange readDateRange(Var const& request);

void writeRange(std::ostream& reply, std::uint32_t first, std::uint32_t count);

// Writes what precedes the records of a run. The record size is part of it only for
// a client other than 0.
void writeRunHeader(std::ostream& reply, std::uint32_t first, std::uint32_t count,
                    std::uint16_t client, std::uint16_t recordSize);

// How many of the wanted records one reply takes: at most takeMax, none of another file.
std::uint32_t runLength(std::uint32_t wanted, int slotsLeft, std::uint32_t takeMax);

}  // namespace ZEB
