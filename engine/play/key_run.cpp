#include "play/key_run.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

namespace velmora {

namespace {

using namespace std::chrono_literals;

constexpr double most_pictures_per_second = 25.0;
/// Real time that bringing a key picture to the screen may take.
constexpr std::chrono::duration<double> lead = 80ms;
/// How far ahead to ask for an access point where the file has not been scanned.
constexpr Ticks unscanned_step = 4s;
/// Pictures to decode until a refresh without key pictures is complete.
constexpr int longest_refresh = 600;

Ticks stream_time(std::chrono::duration<double> time, double magnitude) {
    return Ticks{std::llround(time.count() * magnitude * Timeline::period::den)};
}

} // namespace

KeyRun::KeyRun(std::shared_ptr<const FileSource> source, AccessPointFinder& points, RunOutlet outlet,
               Direction direction, Position from)
    : points_{points}, outlet_{std::move(outlet)},
      direction_{direction}, feed_{std::move(source)}, video_{outlet_.time}, reached_{from} {}

void KeyRun::set_magnitude(double magnitude) {
    spacing_ = stream_time(std::chrono::duration<double>{1.0 / most_pictures_per_second}, magnitude);
}

bool KeyRun::is_beyond(Position position) const {
    return direction_ == Direction::forward ? position > reached_ : position < reached_;
}

bool KeyRun::work() {
    if (pending_) {
        const Position position = pending_->position;
        if (!outlet_.pictures->pictures.try_push(std::move(*pending_))) {
            return false;
        }
        pending_.reset();
        last_offered_ = position;
        offered_ = true;
        return true;
    }
    if (exhausted_ || outlet_.pictures->pictures.full()) {
        return false;
    }
    const auto point = next_point();
    if (!point) {
        return false;
    }
    reached_ = point->presentation;
    if (auto picture = decode(*point)) {
        picture->generation = outlet_.pictures->clock.generation();
        picture->begins_run = !offered_;
        pending_ = std::move(picture);
    }
    outlet_.decoded(video_.take_decoded());
    const std::uint64_t errors = video_.errors() + feed_.units().continuity_errors();
    outlet_.failed(errors - std::exchange(told_errors_, errors));
    outlet_.facts_changed();
    return true;
}

std::optional<AccessPoint> KeyRun::next_point() {
    const PlayClock clock = outlet_.pictures->clock.snapshot();
    const Position now = clock.position(outlet_.time.now());
    const Ticks ahead = clock.running() ? stream_time(lead, std::abs(clock.rate())) : Ticks{0};
    const Position target = direction_ == Direction::forward ? std::max(reached_ + spacing_, now + ahead)
                                                             : std::min(reached_ - spacing_, now - ahead);
    return point_beyond(target);
}

/// @return nothing when there is none any more, or the scan has to go on first
std::optional<AccessPoint> KeyRun::point_beyond(Position target) {
    if (direction_ == Direction::forward) {
        if (auto next = points_.find_next(target)) {
            return next;
        }
        if (points_.extent().complete) {
            exhausted_ = true;
            return std::nullopt;
        }
        const auto start = points_.find(target + unscanned_step);
        return start && *start && is_beyond((*start)->presentation) ? *start : std::nullopt;
    }
    const auto start = points_.find(std::max(target, Position{}));
    if (!start) {
        return std::nullopt;
    }
    if (!*start || !is_beyond((*start)->presentation)) {
        exhausted_ = true;
        return std::nullopt;
    }
    return *start;
}

std::optional<Picture> KeyRun::decode(const AccessPoint& point) {
    const bool is_key = point.clean_from <= point.presentation;
    feed_.seek(point);
    video_.restart(point.clean_from);
    for (int units = 0; units < longest_refresh && video_.ready().empty();) {
        auto unit = feed_.units().take_video();
        if (!unit) {
            if (!feed_.read_more()) {
                break;
            }
            continue;
        }
        video_.decode(std::move(*unit));
        ++units;
        if (is_key) {
            break;
        }
    }
    if (video_.ready().empty()) {
        video_.finish();
    }
    if (video_.ready().empty()) {
        return std::nullopt;
    }
    return std::move(video_.ready().front());
}

std::optional<Position> KeyRun::limit() const {
    if (!exhausted_ || pending_) {
        return std::nullopt;
    }
    return last_offered_.value_or(reached_);
}

} // namespace velmora
