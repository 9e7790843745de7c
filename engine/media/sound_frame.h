// Decoded sound on its way to the loudspeaker.
#pragma once

#include "media/av_handles.h"
#include "media/media_queue.h"
#include "media/timeline.h"

namespace velmora {

/// A run of decoded samples; format, rate and channels are those of the AVFrame.
struct SoundFrame {
    AvFrame frame;
    Position position; ///< when its first sample is due
};

using SoundQueue = MediaQueue<SoundFrame>;

} // namespace velmora
