#include "ts/ts_packet.h"

namespace velmora {

namespace {

/// Bytes of an adaptation field that tell something (ISO/IEC 13818-1, 2.4.3.4), its length byte left out.
/// @param field from its flags on
std::size_t told_size(std::span<const std::uint8_t> field) {
    constexpr std::size_t clock_size = 6;
    const std::uint8_t flags = field[0];
    std::size_t size = 1;
    size += (flags & 0x10U) != 0 ? clock_size : 0;
    size += (flags & 0x08U) != 0 ? clock_size : 0;
    size += (flags & 0x04U) != 0 ? 1 : 0;
    for (const unsigned with_length : {0x02U, 0x01U}) {
        if ((flags & with_length) != 0 && size < field.size()) {
            size += 1U + field[size];
        }
    }
    return size;
}

} // namespace

std::optional<TsPacket> parse_ts_packet(TsPacketBytes bytes, std::uint64_t offset) {
    if (bytes[0] != ts_sync_byte) {
        return std::nullopt;
    }
    TsPacket packet;
    packet.offset = offset;
    packet.bytes = bytes;
    packet.transport_error = (bytes[1] & 0x80U) != 0;
    packet.payload_unit_start = (bytes[1] & 0x40U) != 0;
    packet.pid = static_cast<std::uint16_t>(((bytes[1] & 0x1FU) << 8U) | bytes[2]);
    packet.scrambled = (bytes[3] & 0xC0U) != 0;
    const bool has_adaptation_field = (bytes[3] & 0x20U) != 0;
    packet.has_payload = (bytes[3] & 0x10U) != 0;
    packet.continuity_counter = bytes[3] & 0x0FU;

    std::size_t payload_start = 4;
    if (has_adaptation_field) {
        const std::size_t length = bytes[4];
        payload_start = 5 + length;
        if (payload_start > ts_packet_size) {
            return std::nullopt;
        }
        if (length > 0) {
            packet.discontinuity = (bytes[5] & 0x80U) != 0;
            packet.random_access = (bytes[5] & 0x40U) != 0;
            packet.stuffed = told_size(std::span{bytes}.subspan(5, length)) < length;
        } else {
            packet.stuffed = true;
        }
    }
    if (packet.has_payload) {
        packet.payload = std::span<const std::uint8_t>{bytes}.subspan(payload_start);
    }
    return packet;
}

} // namespace velmora
