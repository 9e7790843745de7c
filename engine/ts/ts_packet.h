// One transport stream packet (ISO/IEC 13818-1, 2.4.3.2).
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace velmora {

inline constexpr std::size_t ts_packet_size = 188;
inline constexpr std::uint8_t ts_sync_byte = 0x47;
inline constexpr std::uint16_t null_packet_pid = 0x1FFF;

using TsPacketBytes = std::span<const std::uint8_t, ts_packet_size>;

/// The header fields of a packet, and a view of its payload.
struct TsPacket {
    std::uint64_t offset{0}; ///< of the sync byte in the file or stream, bytes
    std::uint16_t pid{0};
    std::uint8_t continuity_counter{0};
    bool transport_error{false};
    bool payload_unit_start{false};
    bool scrambled{false};
    bool has_payload{false};
    bool discontinuity{false};             ///< discontinuity_indicator of the adaptation field
    bool random_access{false};             ///< random_access_indicator of the adaptation field
    bool stuffed{false};                   ///< the adaptation field is longer than what it tells
    std::span<const std::uint8_t> payload; ///< into the parsed bytes; empty without payload
    std::span<const std::uint8_t> bytes;   ///< the parsed bytes, all of them
};

/// Reads the header of a packet.
/// @param bytes the packet, beginning with its sync byte
/// @param offset where the packet lies, for TsPacket::offset
/// @return nothing when the sync byte is missing or the adaptation field overruns the packet
std::optional<TsPacket> parse_ts_packet(TsPacketBytes bytes, std::uint64_t offset);

} // namespace velmora
