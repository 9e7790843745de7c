// What the user should know: events for a moment, states for as long as they last.
#pragma once

#include "pacing/time_source.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace velmora {

/// The messages of one session. Any thread; its lock is held for moments only, so that reading never waits.
///
/// An event is the newest message until another comes. Where a state lasts meanwhile, the event stands for
/// event_time, then the state again.
class MessageBoard {
public:
    enum class Severity : std::int32_t { notice = 1, warning = 2, error = 3 };
    /// What can last; each at most once at a time.
    enum class State {
        no_signal,       ///< nothing comes, or the stream cannot be had
        old_picture,     ///< data comes, but no picture any more
        scrambled,       ///< what would be shown cannot be descrambled
        slow_decoding,   ///< pictures are dropped since decoding does not keep up
        no_sound_device, ///< there is sound, but nothing to hear it from
        count
    };

    struct Message {
        std::uint32_t number{0};          ///< rises with each message
        std::optional<Severity> severity; ///< nothing when what was said last holds no longer
        bool lasts{false};
        std::string text; ///< UTF-8, one sentence

        bool operator==(const Message&) const = default;
    };

    /// Longer than two lines of subtitles stand.
    static constexpr std::chrono::seconds event_time{5};

    /// @param time outlives the board
    explicit MessageBoard(const TimeSource& time) : time_{time} {}

    /// Something happened. Unless it is what was asked for, a notice, it goes to standard error as well.
    /// @param component, kind as of log_incident
    /// @param text UTF-8, one sentence for the user
    void post(Severity severity, std::string_view component, std::string_view kind, std::string text);
    /// The state begins, which goes to standard error in the same way; where it lasts already, only its text
    /// is new.
    /// @param component of log_incident; empty where a line was written already
    void begin(State state, Severity severity, std::string_view component, const std::string& text);
    /// The state is over; nothing happens where it did not last.
    void end(State state);

    /// @return nothing when there has been none
    std::optional<Message> newest() const;

private:
    const Message* newest_state() const;

    const TimeSource& time_;
    mutable std::mutex mutex_;
    // Protected by mutex_:
    Message latest_; ///< of events and of states that are over
    SteadyTime latest_at_{};
    std::uint32_t last_number_{0};
    std::array<std::optional<Message>, static_cast<std::size_t>(State::count)> states_;
};

} // namespace velmora
