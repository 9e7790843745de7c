// Where a stream can be cut, so that both parts can be played.
#pragma once

#include "index/access_point_collector.h"
#include "index/access_point_index.h"
#include "ts/table_packets.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <span>
#include <vector>

namespace velmora {

/// Hands packets on in pieces that end in front of access points. What may yet turn out to be one waits, so
/// everything arrives a few packets later. Not thread-safe.
class CycleCutter {
public:
    void feed(std::span<const std::uint8_t> packets);
    /// Moves out what lies in front of the next access point, or is known to contain none.
    struct Piece {
        std::vector<std::uint8_t> packets;
        bool ends_at_access_point{false};
    };
    Piece take();
    /// Moves out everything.
    std::vector<std::uint8_t> take_rest();
    /// The tables in force behind what was taken, with continuity counters that lead on from it.
    std::vector<std::uint8_t> tables() const { return tables_.bytes(); }

private:
    std::vector<std::uint8_t> take_until(std::uint64_t offset);

    TablePackets tables_; ///< of what was taken
    AccessPointIndex index_;
    AccessPointCollector collector_{index_};
    std::deque<std::uint64_t> access_points_; ///< offsets, in what waits
    std::vector<std::uint8_t> waiting_;
    std::uint64_t begin_{0}; ///< of what waits, offset in the stream
};

} // namespace velmora
