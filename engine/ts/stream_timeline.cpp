#include "ts/stream_timeline.h"

#include <algorithm>
#include <chrono>

namespace velmora {

namespace {

using namespace std::chrono_literals;

constexpr std::int64_t wrap = std::int64_t{1} << 33U;
constexpr Ticks longest_gap = 10s;
constexpr Ticks longest_step_back = -1s;
constexpr Ticks longest_announced_gap = 1s;
constexpr Ticks longest_unit = 1s;
constexpr Ticks longest_reordering = 10s; // still pictures; ISO/IEC 13818-1 allows others 1 s

/// How long the unit waits between decoding and presentation; none where damage made nonsense of its stamps,
/// or one flipped bit would keep a picture on the screen for hours.
Ticks reordering(StreamTime pts, StreamTime dts) {
    const Ticks distance = stream_distance(dts, pts);
    return distance >= -longest_unit && distance <= longest_reordering ? distance : Ticks{0};
}

} // namespace

Ticks stream_distance(StreamTime from, StreamTime to) {
    const std::int64_t forward = (to.ticks - from.ticks) & (wrap - 1);
    return Ticks{forward < wrap / 2 ? forward : forward - wrap};
}

StreamTimeline::StreamTimeline(TimeAnchor anchor) : last_{anchor}, end_{anchor.position} {}

StreamTimeline::Mapped StreamTimeline::map_leading(StreamTime pts, StreamTime dts,
                                                   bool discontinuity_indicated) {
    const Ticks reorder = reordering(pts, dts);
    Mapped mapped;
    if (!last_) {
        // The first unit is shown at 0: its decoding time lies before that.
        last_ = TimeAnchor{dts, Position{-reorder}};
    }
    const Ticks step = stream_distance(last_->stream, dts);
    const bool is_jump = step > longest_gap || step < longest_step_back ||
                         (discontinuity_indicated && (step > longest_announced_gap || step < Ticks{0}));
    if (is_jump) {
        previous_piece_ = last_;
        mapped.begins_piece = true;
        mapped.decode = end_ - reorder;
    } else {
        mapped.decode = last_->position + step;
        if (step > Ticks{0} && step < longest_unit) {
            unit_duration_ = step;
        }
    }
    mapped.presentation = mapped.decode + reorder;
    last_ = TimeAnchor{dts, mapped.decode};
    end_ = std::max(end_, mapped.presentation + unit_duration_);
    return mapped;
}

std::optional<Position> StreamTimeline::map_other(StreamTime pts, std::optional<Position> expected) const {
    std::optional<Position> best;
    for (const auto& anchor : {last_, previous_piece_}) {
        if (!anchor) {
            continue;
        }
        const Ticks distance = stream_distance(anchor->stream, pts);
        if (distance < -longest_gap || distance > longest_gap) {
            continue;
        }
        const Position candidate = anchor->position + distance;
        if (!best || (expected && abs(candidate - *expected) < abs(*best - *expected))) {
            best = candidate;
        }
    }
    return best;
}

} // namespace velmora
