#include "ts/clock_reference.h"

#include <cstdint>

namespace velmora {

std::optional<StreamTime> clock_reference(const TsPacket& packet) {
    constexpr std::size_t shortest_field = 7; // flags and PCR
    const auto& bytes = packet.bytes;
    const bool has_field = (bytes[3] & 0x20U) != 0 && bytes[4] >= shortest_field;
    if (!has_field || (bytes[5] & 0x10U) == 0) {
        return std::nullopt;
    }
    std::uint64_t base = 0;
    for (std::size_t at = 6; at < 10; ++at) {
        base = (base << 8U) | bytes[at];
    }
    return StreamTime{static_cast<std::int64_t>((base << 1U) | (bytes[10] >> 7U))};
}

} // namespace velmora
