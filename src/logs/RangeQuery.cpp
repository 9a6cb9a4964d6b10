#include "logs/RangeQuery.h"

#include <algorithm>
#include <istream>
#include <ostream>
#include <utility>

#include "msgclasses/ByteBuf.h"
#include "msgclasses/ByteStream.h"

namespace ZEB {

namespace {

template <typename Field>
void readField(std::istream& in, Field& field) {
    in.read(reinterpret_cast<char*>(&field), sizeof field);
}

template <typename Field>
void writeField(std::ostream& out, Field const& field) {
    out.write(reinterpret_cast<char const*>(&field), sizeof field);
}

}  // namespace

RangeRequest readRangeRequest(Var const& request) {
    ByteBuf bytes = request.toByteBufType();
    ByteStream in(&bytes);
    RangeRequest range;
    readField(in, range.first);
    readField(in, range.count);
    in.readsome(reinterpret_cast<char*>(&range.client), sizeof range.client);
    return range;
}

RangeRequest clampedTo(HeldRange held, RangeRequest request) {
    request.first = std::max(request.first, held.first);
    if (std::int64_t{request.first} + request.count > held.end()) {
        request.count = clampedToInt(held.end() - request.first);
    }
    return request;
}

unsigned int handToCaller(RangeRequest const& request, unsigned int* first,
                          unsigned short* client) {
    *first = static_cast<unsigned int>(request.first);
    *client = request.client;
    return static_cast<unsigned int>(std::max(request.count, 0));
}

DateRange readDateRange(Var const& request) {
    ByteBuf bytes = request.toByteBufType();
    ByteStream in(&bytes);
    DateRange range;
    readField(in, range.earlier);
    readField(in, range.later);
    if (range.earlier > range.later) std::swap(range.earlier, range.later);
    return range;
}

void writeRange(std::ostream& reply, std::uint32_t first, std::uint32_t count) {
    writeField(reply, first);
    writeField(reply, count);
}

void writeRunHeader(std::ostream& reply, std::uint32_t first, std::uint32_t count,
                    std::uint16_t client, std::uint16_t recordSize) {
    writeRange(reply, first, count);
    if (client != 0) writeField(reply, recordSize);
}

std::uint32_t runLength(std::uint32_t wanted, int slotsLeft, std::uint32_t takeMax) {
    return std::min({wanted, static_cast<std::uint32_t>(slotsLeft), takeMax});
}

}  // namespace ZEB
