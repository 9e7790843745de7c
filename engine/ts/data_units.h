// Access units of a data stream (MISB ST 1402).
#pragma once

#include "ts/pes.h"

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace velmora {

/// Takes the access units out of PES packets. Asynchronous data is one unit a packet; synchronous metadata
/// comes in cells, several to a packet or one unit in several (ISO/IEC 13818-1, 2.12.4). Not thread-safe.
class DataUnits {
public:
    using Sink = std::function<void(std::span<const std::uint8_t> unit)>;

    void feed(const PesPacket& pes, const Sink& sink);

private:
    void take_cells(std::span<const std::uint8_t> cells, const Sink& sink);

    std::vector<std::uint8_t> fragments_; ///< of a unit in progress
    bool in_progress_{false};
};

} // namespace velmora
