// What a poll reads of a session.
#pragma once

#include "live/live_channel.h"
#include "play/playback_status.h"
#include "record/recorder.h"

#include <cstdint>
#include <optional>

namespace velmora {

/// Which activity has the display.
enum class DisplayOwner { live_view, file };

struct SessionReport {
    DisplayOwner owner{DisplayOwner::live_view};
    bool is_viewing{false};                 ///< a live stream
    std::optional<LiveReport> live;         ///< of that, where the figures are the live view's
    std::optional<PlaybackReport> playback; ///< of the file that plays
    std::optional<RecordingFacts> recording;
    std::optional<std::uint64_t> sent_pictures; ///< of the file that is sent out
    bool is_sent_by_rtp{false};
};

} // namespace velmora
