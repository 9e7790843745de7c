#include "ts/ts_packet.h"

namespace velmora {

std::optional<TsPacket> parse_ts_packet(TsPacketBytes bytes, std::uint64_t offset) {
    if (bytes[0] != ts_sync_byte) {
        return std::nullopt;
    }
    TsPacket packet;
    packet.offset = offset;
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
        }
    }
    if (packet.has_payload) {
        packet.payload = std::span<const std::uint8_t>{bytes}.subspan(payload_start);
    }
    return packet;
}

} // namespace velmora
