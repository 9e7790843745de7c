// Opus as it travels in transport streams: a control header in front of each packet.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace velmora {

/// What stands in front of one Opus packet in a PES payload (Encapsulation of Opus in ISO/IEC 13818-1:
/// opus_access_unit, opus_control_header).
struct OpusControlHeader {
    std::size_t header_size{0};     ///< bytes before the packet
    std::size_t packet_size{0};     ///< bytes of the packet
    std::uint32_t trim_at_start{0}; ///< samples at 48 kHz to leave out before
    std::uint32_t trim_at_end{0};   ///< samples at 48 kHz to leave out behind
};

/// Reads the control header at the start of `bytes`; nothing when there is none or when the packet it tells
/// of is not there completely.
std::optional<OpusControlHeader> read_opus_control_header(std::span<const std::uint8_t> bytes);

/// The identification header (RFC 7845, section 5.1) that a decoder wants for `channels` channels, 1 to 8;
/// empty for any other number.
std::vector<std::uint8_t> make_opus_head(int channels);

} // namespace velmora
