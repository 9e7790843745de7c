// A decoded picture on its way to the screen.
#pragma once

#include "media/av_handles.h"
#include "media/picture_size.h"
#include "media/timeline.h"

#include <cstdint>
#include <optional>

namespace velmora {

struct Picture {
    AvFrame frame;
    Position position;                     ///< when it is due
    std::uint64_t generation{0};           ///< of the source's run that it belongs to; older ones are stale
    std::optional<PictureSize> whole_size; ///< where `frame` is what was shown of a larger picture
    bool is_preview{false}; ///< shown at once, before the run that begins with the same picture
    bool begins_run{false}; ///< shown at once: the clock starts with it
};

} // namespace velmora
