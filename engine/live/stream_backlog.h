// What was received since the last access point, for who joins in the middle.
#pragma once

#include "index/access_point_collector.h"
#include "index/access_point_index.h"
#include "media/packet_block.h"
#include "ts/table_packets.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

namespace velmora {

/// Bounded in size, whatever the distance of the access points. Not thread-safe.
class StreamBacklog {
public:
    void feed(const SharedBlock& block);
    /// The tables, then everything from the last access point on; nothing while there is none.
    std::vector<SharedBlock> from_access_point() const;

private:
    struct Entry {
        std::uint64_t offset{0}; ///< of the block in the stream, bytes
        SharedBlock block;
    };

    void begin_at(std::uint64_t offset);
    void drop_front();

    TablePackets tables_;
    std::vector<std::uint8_t> tables_of_point_; ///< in force at the access point
    AccessPointIndex index_;
    AccessPointCollector collector_{index_};
    std::deque<Entry> blocks_;
    std::size_t bytes_{0};          ///< of the blocks
    std::uint64_t received_{0};     ///< bytes of the stream so far
    std::uint64_t access_point_{0}; ///< offset in the stream
    bool has_access_point_{false};
};

} // namespace velmora
