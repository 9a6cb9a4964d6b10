#pragma once

#include <cstdint>
#include <iosfwd>

#include "logs/RingPosition.h"
#include "msgclasses/Var.h"

namespace ZEB {

// The bytes of the range queries. All integers are little-endian; what a request
// is too short to hold counts as 0.

struct RangeRequest {
    std::int32_t first = 0;
    std::int32_t count = 0;
    std::uint16_t client = 0;
};

RangeRequest readRangeRequest(Var const& request);

// Cut to the indices that a log holds; nothing wanted behind them.
RangeRequest clampedTo(HeldRange held, RangeRequest request);

// Stores first and client for the caller and returns the count. A negative count
// wants nothing: callers loop until their count is 0.
unsigned int giveOut(RangeRequest const& request, unsigned int* first, unsigned short* client);

struct DateRange {
    std::uint32_t earlier = 0;
    std::uint32_t later = 0;
};

DateRange readDateRange(Var const& request);

void writeRange(std::ostream& reply, std::uint32_t first, std::uint32_t count);

// A record run: its header, then the records. The record size stands in it only
// for a client other than 0.
void writeRunHeader(std::ostream& reply, std::uint32_t first, std::uint32_t count,
                    std::uint16_t client, std::uint16_t recordSize);

// How many of the wanted records one run carries: none beyond the file's end.
std::uint32_t runLength(std::uint32_t wanted, int slotsLeft, std::uint32_t maximum);

}  // namespace ZEB
