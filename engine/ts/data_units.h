// Access units of a data stream (MISB ST 1402).
#pragma once

#include "ts/elementary_stream.h"
#include "ts/pes.h"

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace velmora {

/// How units lie in PES packets.
enum class DataCarriage {
    bare, ///< each packet is a unit
    cells ///< several to a packet, or one unit in several packets (ISO/IEC 13818-1, 2.12.4)
};

/// What the tables tell of the carriage (MISB ST 1402): whatever the stream_id of its packets.
DataCarriage data_carriage(const ElementaryStream& stream);

/// Takes the access units out of PES packets. Not thread-safe.
class DataUnits {
public:
    using Sink = std::function<void(std::span<const std::uint8_t> unit)>;

    /// @param carriage what the tables tell; a packet that cannot consist of cells is a unit all the same
    void feed(const PesPacket& pes, DataCarriage carriage, const Sink& sink);
    /// Drops a unit in progress, before a jump in the stream.
    void restart() { in_progress_ = false; }

private:
    void take_cells(std::span<const std::uint8_t> cells, const Sink& sink);

    std::vector<std::uint8_t> fragments_; ///< of a unit in progress
    bool in_progress_{false};
    bool had_cells_{false}; ///< a packet has consisted of cells
};

} // namespace velmora
