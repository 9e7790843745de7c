// The programme clock reference of a packet (ISO/IEC 13818-1, 2.4.3.5).
#pragma once

#include "ts/pes.h"
#include "ts/ts_packet.h"

#include <optional>

namespace velmora {

/// The base of the packet's PCR, unit 1/90000 s; its extension, a fraction of that, is left out.
std::optional<StreamTime> clock_reference(const TsPacket& packet);

} // namespace velmora
