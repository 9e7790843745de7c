// When the pictures of a live stream are due, by the time at which they were ready.
#pragma once

#include "media/timeline.h"

#include <array>
#include <cstddef>
#include <deque>
#include <optional>

namespace velmora {

/// Follows a sender without ever falling behind it: positions are due as early as they have lately been
/// ready, evenly, and later by the delay that is asked for. Key pictures are long on the wire and differ in
/// size: the largest of a minute counts, and while few were seen, the clock glides to where one that is
/// larger still would find it, as far as the sender's time stamps allow for one. A value without threads.
class JitterClock {
public:
    using Delay = std::chrono::nanoseconds;

    /// @param delay by which everything is due later; readiness may waver by it without being seen
    explicit JitterClock(Delay delay) : delay_{delay} {}

    /// Which pictures can be expected to be late again.
    enum class Kind { key, other };

    /// Tells that what is due at `position` was ready at `ready`.
    /// @return true when what is due has changed
    bool note(Position position, SteadyTime ready, Kind kind = Kind::other);
    /// Tells how late a picture may be at all by the sender's promise: what is due when a programme clock
    /// reference arrives that says its time (ISO/IEC 13818-1, 2.4.2.3: what is decoded then has come).
    /// @param clock the position that the reference stands for
    void note_promise(Position clock, SteadyTime arrived);
    /// Forgets what was, before another stream.
    void restart();

    /// When position 0 is due; nothing before the first note.
    std::optional<SteadyTime> origin() const { return origin_; }

private:
    /// Readiness, as an origin, within a moment.
    struct Window {
        SteadyTime begin;
        SteadyTime latest;
        SteadyTime first;
        SteadyClock::duration behind_first{0}; ///< of all, in sum
        int count{0};

        SteadyTime average() const { return first + behind_first / count; }
    };

    struct KeyPicture {
        SteadyTime ready;
        SteadyTime origin;
    };

    bool has_jumped(SteadyTime origin, SteadyTime now) const;
    void remember(SteadyTime origin, SteadyTime now, Kind kind);
    SteadyTime undisturbed() const;
    std::optional<SteadyTime> largest_key() const;
    SteadyTime needed() const;
    SteadyTime target() const;
    std::optional<SteadyTime> expected() const;
    bool move_to(SteadyTime origin);

    Delay delay_;
    std::optional<SteadyTime> origin_;
    SteadyTime moved_at_{};
    SteadyTime latest_{}; ///< origin by the picture noted last
    bool is_catching_up_{false};
    /// Readiness fell far behind at one stroke, and may come back as fast.
    std::optional<SteadyTime> stood_still_at_;
    std::array<Window, 12> windows_{}; ///< the youngest last
    std::size_t count_{0};
    std::deque<KeyPicture> keys_;     ///< of the last minute
    std::deque<KeyPicture> promises_; ///< clock references of some seconds, none that a later one undercuts
};

} // namespace velmora
