// Packets that are put between those of a file.
#pragma once

#include "ts/ts_packet.h"

#include <array>
#include <cstdint>

namespace velmora {

using MadePacket = std::array<std::uint8_t, ts_packet_size>;

/// A packet without meaning (ISO/IEC 13818-1, 2.4.1).
MadePacket null_packet();

/// Announces that what follows on the PID does not continue what came before (2.4.3.5,
/// discontinuity_indicator): no payload.
/// @param next_counter continuity_counter of the packet that follows
MadePacket discontinuity_packet(std::uint16_t pid, std::uint8_t next_counter);

} // namespace velmora
