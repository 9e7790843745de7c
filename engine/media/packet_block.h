// Transport packets on their way from the network to all who look at them.
#pragma once

#include "media/timeline.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace velmora {

/// Packets that arrived together: whole, 188 bytes each, in the order of the stream.
struct PacketBlock {
    std::vector<std::uint8_t> bytes;
    SteadyTime arrived;
};

/// Shared by its readers, never changed.
using SharedBlock = std::shared_ptr<const PacketBlock>;
/// Takes a block; must not wait.
using BlockSink = std::function<void(SharedBlock)>;

} // namespace velmora
