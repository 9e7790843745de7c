// Finds the transport packets in a datagram.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace velmora {

/// Appends the packets of a datagram, 188 bytes each. They are looked for from its end, so that whatever
/// header is in front is skipped; the parity behind packets of 204 bytes is left out.
/// @return bytes behind or between packets that were dropped, all of them when there is no packet
std::size_t append_packets(std::span<const std::uint8_t> datagram, std::vector<std::uint8_t>& packets);

} // namespace velmora
