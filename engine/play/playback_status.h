// What a poll may read of a running playback at any time, without waiting for it.
#pragma once

#include "media/timeline.h"
#include "play/tempo.h"
#include "tracks/stream_facts.h"

#include <mutex>
#include <string>

namespace velmora {

/// How playback stands.
struct PlaybackReport {
    enum class State { off, playing, pausing, at_end, at_start };

    State state{State::off};
    Tempo tempo;
    Ticks elapsed{0};
    Ticks length{0}; ///< of the file as far as it is known
    bool is_growing{false};
    std::string latin1_path; ///< as it was given
    StreamReport stream;
};

/// Facts of the playback, each updated by the player's own threads.
struct PlaybackFacts {
    bool running{false}; ///< the first picture or sound is there
    Tempo tempo;
    bool at_end{false};
    bool at_start{false}; ///< reverse play has reached the beginning
    StreamFacts stream;
};

/// One mutex around plain records. Thread-safe.
class PlaybackStatus {
public:
    /// Changes facts and counters in one step; `change` must be short.
    template <class Change>
    void update(Change&& change) {
        const std::lock_guard lock{mutex_};
        change(facts_, counters_);
    }

    /// @param position of the clock now
    /// @param length of the file as far as it is known
    /// @return all but the file itself
    PlaybackReport report(Position position, Ticks length) const;
    /// Counts from zero again.
    void reset_counters();

private:
    mutable std::mutex mutex_;
    PlaybackFacts facts_;
    StreamCounters counters_;
    StreamCounters baseline_; ///< at the last reset
};

} // namespace velmora
