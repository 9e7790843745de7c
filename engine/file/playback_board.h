// What a poll may read of a running playback at any time, without waiting for it.
#pragma once

#include "decode/picture_size.h"
#include "file/tempo.h"
#include "media/timeline.h"
#include "velmoraapi.h"

#include <cstdint>
#include <mutex>
#include <string>

namespace velmora {

/// Facts of the playback, each updated by the player's own threads.
struct PlaybackFacts {
    bool running{false}; ///< the first picture or sound is there
    Tempo tempo;
    bool at_end{false};
    bool at_start{false};          ///< reverse play has reached the beginning
    PictureSize picture;           ///< shown last, square pixels
    std::int32_t frame_rate{0};    ///< pictures per second of the stream, measured
    std::int32_t bitrate{0};       ///< kbit/s over the last second of the stream
    std::int32_t video_codec{0};   ///< AVCodecID
    std::int32_t audio_codec{0};   ///< AVCodecID
    std::int32_t sample_rate{0};   ///< Hz
    std::int32_t audio_bitrate{0}; ///< kbit/s
    std::int32_t channels{0};
    std::int32_t bits_per_sample{0};
    std::int32_t data_codec{0}; ///< AVCodecID
};

/// Numbers that only grow until a reset.
struct PlaybackCounters {
    std::uint64_t decoded_pictures{0};
    std::uint64_t shown_pictures{0};
    std::uint64_t errors{0}; ///< of decoders and of the continuity counters
    std::uint64_t data_units{0};
};

/// One mutex around plain records. Thread-safe.
class PlaybackBoard {
public:
    /// @param latin1_path as the application gave it
    explicit PlaybackBoard(std::string latin1_path) : path_{std::move(latin1_path)} {}

    /// Changes facts and counters in one step; `change` must be short.
    template <class Change>
    void update(Change&& change) {
        const std::lock_guard lock{mutex_};
        change(facts_, counters_);
    }

    /// Fills the parts of `info` that belong to file playback.
    /// @param position of the clock now
    /// @param length of the file as far as it is known
    void report(velmora_info_t& info, Position position, Ticks length) const;
    /// Counts from zero again.
    void reset_counters();

private:
    mutable std::mutex mutex_;
    const std::string path_;
    PlaybackFacts facts_;
    PlaybackCounters counters_;
    PlaybackCounters baseline_; ///< at the last reset
};

} // namespace velmora
