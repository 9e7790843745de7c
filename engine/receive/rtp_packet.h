// One RTP packet (RFC 3550, 5.1).
#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace velmora {

struct RtpPacket {
    std::uint16_t sequence{0};
    std::uint32_t ssrc{0};
    std::span<const std::uint8_t> payload; ///< into the parsed bytes, without extension and padding
};

/// @return nothing when the bytes are no RTP packet of version 2, or are RTCP on the same port (RFC 5761)
std::optional<RtpPacket> parse_rtp_packet(std::span<const std::uint8_t> bytes);

} // namespace velmora
