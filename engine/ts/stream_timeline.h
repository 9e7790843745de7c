// Unwraps the time stamps of a stream onto one continuous timeline.
#pragma once

#include "media/timeline.h"
#include "ts/pes.h"

#include <optional>

namespace velmora {

/// A known correspondence of the two time axes.
struct TimeAnchor {
    StreamTime stream;
    Position position;
};

/// Maps 33-bit time stamps to positions while a file is read in order. The 33-bit counter may wrap; a jump of
/// more than 10 s forward or 1 s back (a restarted sender, joined recordings) begins a new piece that is laid
/// directly behind the old one, so that the timeline is the sum of its continuous pieces.
class StreamTimeline {
public:
    struct Mapped {
        Position decode;       ///< of the decoding time stamp
        Position presentation; ///< of the presentation time stamp
        bool begins_piece{
            false}; ///< the first unit behind a jump: what was decoded before is no reference for it
    };

    /// Begins at position 0 with the first unit mapped.
    StreamTimeline() = default;
    /// Goes on from a known point, after a jump in the file.
    explicit StreamTimeline(TimeAnchor anchor);

    /// Maps the next unit, in file order, of the stream that the timeline follows: video, or audio without
    /// it.
    /// @param discontinuity_indicated the stream announced a jump: any gap of a second is one then
    Mapped map_leading(StreamTime pts, StreamTime dts, bool discontinuity_indicated);
    /// Maps a time stamp of another stream of the programme.
    /// @param expected where that stream's last unit ended: decides between two pieces around a jump
    /// @return nothing when it is far from everything known
    std::optional<Position> map_other(StreamTime pts, std::optional<Position> expected) const;

    /// End of the last picture so far.
    Position end() const { return end_; }
    /// The usual distance of two units.
    Ticks unit_duration() const { return unit_duration_; }
    /// Correspondence at the unit mapped last, for map_leading to go on from later.
    std::optional<TimeAnchor> anchor() const { return last_; }

private:
    std::optional<TimeAnchor> last_;
    std::optional<TimeAnchor> previous_piece_;
    Position end_{};
    Ticks unit_duration_{3600}; // 40 ms until the stream shows its own
};

/// Signed distance of two time stamps across the 33-bit wrap.
Ticks stream_distance(StreamTime from, StreamTime to);

} // namespace velmora
