// What a poll may read of a running playback at any time, without waiting for it.
#pragma once

#include "media/timeline.h"
#include "play/tempo.h"
#include "tracks/stream_facts.h"
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
    bool at_start{false}; ///< reverse play has reached the beginning
    StreamFacts stream;
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
    StreamCounters counters_;
    StreamCounters baseline_; ///< at the last reset
};

} // namespace velmora
