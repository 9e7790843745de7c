// Units of the elementary streams of a played file, in the order of the file and placed on the timeline.
#pragma once

#include "decode/video_decoder.h"
#include "media/timeline.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace velmora {

/// Identifies a stream as it stands in the tables: another number means another decoder.
struct StreamIdentity {
    std::uint64_t serial{0};
    AVCodecID codec{AV_CODEC_ID_NONE};
    int opus_channel_config{0};
};

struct QueuedVideo {
    StreamIdentity stream;
    VideoUnit unit;
    bool begins_piece{false};     ///< its time does not go on from what is in front of it
    bool follows_loss{false};     ///< packets are missing in front of it or in it
    bool lacks_references{false}; ///< what is in front of it could not be read
};

struct QueuedSound {
    StreamIdentity stream;
    std::vector<std::uint8_t> bytes; ///< a whole PES packet
    std::size_t payload_start{0};
    std::optional<Position> position;
};

} // namespace velmora
