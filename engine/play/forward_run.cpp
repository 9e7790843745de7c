#include "play/forward_run.h"

#include "diagnostics/log.h"

#include <algorithm>
#include <utility>

namespace velmora {

namespace {

using namespace std::chrono_literals;

/// What may wait when one stream is far ahead of the other in the file, bytes.
constexpr std::size_t most_waiting_for_pictures = std::size_t{16} << 20U;
constexpr std::size_t most_waiting_for_sound = std::size_t{4} << 20U;
/// How far to look for something playable, bytes.
constexpr std::uint64_t longest_search = std::uint64_t{32} << 20U;
constexpr int most_steps_back = 3;
/// Real time behind the clock at which decoding goes on further ahead.
constexpr std::chrono::duration<double> lost_picture = 800ms;
constexpr std::chrono::duration<double> lost_light_picture = 2s; ///< where decoding is light
/// Decoding is light that takes less of the time.
constexpr double light_load = 0.2;
constexpr std::size_t least_measured = 5; ///< pictures

} // namespace

ForwardRun::ForwardRun(std::shared_ptr<const FileSource> source, AccessPointFinder& points, RunOutlet outlet,
                       std::string name, std::function<bool()> may_grow)
    : points_{points}, outlet_{std::move(outlet)}, name_{std::move(name)}, feed_{std::move(source)},
      video_{outlet_.time} {
    feed_.set_may_grow(std::move(may_grow));
    feed_.units().name_unknown_streams();
    video_.set_hurry(Hurry::to_wanted);
}

void ForwardRun::begin_with_preview() {
    video_.preview_first([this](Picture picture) { offer_preview(std::move(picture)); });
}

void ForwardRun::begin(const DecodingStart& start, Position target) {
    steps_back_ = 0;
    video_.preview_first(nullptr); // it would show another picture
    restart(start, target);
}

void ForwardRun::restart(const DecodingStart& start, Position target) {
    outlet_.pictures->pictures.clear();
    outlet_.sounds->clear();
    outlet_.discard_sound();
    lateness_.reset();
    // Whatever the speed, the first picture is the one asked for.
    set_skip(AVDISCARD_DEFAULT);
    feed_.seek(start);
    video_.restart(target);
    sound_.restart(target);
    spacing_.restart();
    started_at_ = start;
    target_ = target;
    offered_ = false;
    tracks_finished_ = false;
    awaits_growth_ = false;
    last_offered_.reset();
}

void ForwardRun::set_magnitude(double magnitude) {
    const bool regains_sound = magnitude == 1.0 && magnitude_ > 1.0 && !sound_only();
    if (magnitude == 0.0) {
        return; // what is decoded waits
    }
    magnitude_ = magnitude;
    if (regains_sound) {
        sound_.restart(last_offered_.value_or(target_));
    }
    lateness_.reset();
    choose_skip();
}

bool ForwardRun::sound_only() const {
    return approach_ == Approach::sound_only ||
           (feed_.units().selection() && !feed_.units().selection()->video);
}

/// At other speeds nothing is heard, but where there is nothing else, sound keeps the pace.
bool ForwardRun::wants_sound() const {
    return magnitude_ == 1.0 || sound_only();
}

bool ForwardRun::work() {
    if (offer_pictures() || offer_sounds() || decode_video() || decode_sound()) {
        return true;
    }
    if (finds_nothing() && feed_.offset() > longest_search) {
        try_next_approach();
        return true;
    }
    if (needs_more()) {
        const bool is_more = feed_.read_more();
        awaits_growth_ = awaits_growth_ || !is_more;
        return is_more;
    }
    return finish_tracks();
}

/// What has played once does so elsewhere in the file too, however far that is.
bool ForwardRun::finds_nothing() const {
    return !has_played_ && !started_at_ && !video_.has_decoded();
}

bool ForwardRun::decode_video() {
    if (approach_ == Approach::sound_only) {
        while (feed_.units().take_video()) {
            // A stream that cannot be decoded must not fill the memory.
        }
        return false;
    }
    if (!video_.ready().empty()) {
        return false;
    }
    auto unit = feed_.units().take_video();
    if (unit) {
        video_.decode(std::move(*unit));
        outlet_.decoded(video_.take_decoded());
        outlet_.facts_changed();
    }
    return unit.has_value();
}

bool ForwardRun::decode_sound() {
    if (!sound_.ready().empty()) {
        return false;
    }
    auto unit = feed_.units().take_sound();
    if (unit && wants_sound()) {
        sound_.decode(std::move(*unit));
    }
    return unit.has_value();
}

bool ForwardRun::needs_more() const {
    if (feed_.at_end()) {
        return false;
    }
    const bool wants_pictures = !sound_only() && video_.ready().empty();
    const bool has_sound = feed_.units().selection() && feed_.units().selection()->audio;
    const bool lacks_sound = has_sound && sound_.ready().empty() && wants_sound();
    return (wants_pictures && feed_.units().waiting_bytes() < most_waiting_for_pictures) ||
           (lacks_sound && feed_.units().waiting_bytes() < most_waiting_for_sound);
}

void ForwardRun::offer_preview(Picture picture) {
    picture.generation = outlet_.pictures->clock.generation();
    if (outlet_.pictures->pictures.try_push(std::move(picture))) {
        outlet_.ready();
    }
}

bool ForwardRun::offer_pictures() {
    auto& ready = video_.ready();
    auto& queue = outlet_.pictures->pictures;
    bool offered = false;
    while (!ready.empty() && !queue.full()) {
        Picture& picture = ready.front();
        if (!offered_ && step_back_from(picture)) {
            return true;
        }
        const Position position = picture.position;
        if (offered_ && !spacing_.admits(position)) {
            ready.pop_front();
            continue;
        }
        picture.generation = outlet_.pictures->clock.generation();
        picture.begins_run = !offered_;
        if (!queue.try_push(std::move(picture))) {
            break;
        }
        ready.pop_front();
        offered = true;
        offered_ = has_played_ = true;
        last_offered_ = position;
        outlet_.ready();
        if (std::exchange(awaits_growth_, false)) {
            // What was written only after it was due is shown when it comes, and the clock goes on from
            // there.
            outlet_.pictures->clock.hold_back_to(position, outlet_.time.now());
        }
        keep_up(position);
    }
    return offered;
}

/// Leaves out more while pictures come late, and goes on further ahead when that does not help.
void ForwardRun::keep_up(Position position) {
    const PlayClock clock = outlet_.pictures->clock.snapshot();
    if (!clock.running()) {
        return;
    }
    const SteadyTime now = outlet_.time.now();
    const auto behind = now - clock.due(position);
    // With more decoded than the screen takes it is the screen that catches up, by itself.
    const bool is_ahead_of_screen = outlet_.pictures->pictures.full();
    lateness_.observe(is_ahead_of_screen ? SteadyClock::duration::zero() : behind, now);
    choose_skip();
    outlet_.keeps_up(skip_ == video_.shares().skip_for(magnitude_));
    if (behind > lost_picture && (behind > lost_light_picture || !decoding_is_light())) {
        const Position ahead = clock.position(now);
        const auto start = points_.find(ahead);
        if (start && *start && (*start)->presentation > position) {
            feed_.seek(*start);
            video_.restart((*start)->presentation);
            sound_.restart(ahead);
            started_at_ = *start;
        }
    }
}

/// Whoever decodes so fast is late because the machine stood still, and has soon caught up: leaving out would
/// save nothing.
bool ForwardRun::decoding_is_light() const {
    const DecodingEffort::Seconds effort = video_.effort(least_measured);
    return effort.count() > 0.0 && effort * magnitude_ < light_load * feed_.units().unit_duration();
}

void ForwardRun::set_skip(AVDiscard skip) {
    if (skip != skip_) {
        skip_ = skip;
        video_.set_skip(skip);
    }
}

void ForwardRun::choose_skip() {
    const AVDiscard planned = video_.shares().skip_for(magnitude_);
    const bool leaving_out_helps = lateness_.is_late() && !decoding_is_light();
    set_skip(leaving_out_helps ? std::max(planned, lateness_.skip()) : planned);
    video_.set_deinterlacing(!lateness_.is_late());
    spacing_.set(magnitude_, feed_.units().unit_duration());
}

/// An access point that did not serve, such as in damaged data or before a refresh is complete, shows itself
/// by a first picture behind the target: decoding begins at an earlier one then.
bool ForwardRun::step_back_from(const Picture& first) {
    return first.position > target_ + feed_.units().unit_duration() * 3 / 2 && step_back();
}

bool ForwardRun::step_back() {
    if (!started_at_ || steps_back_ >= most_steps_back) {
        return false;
    }
    const DecodingStart earlier = points_.find_before(target_, *started_at_);
    if (!earlier && approach_ != Approach::from_anywhere) {
        return false;
    }
    ++steps_back_;
    restart(earlier, target_);
    return true;
}

bool ForwardRun::offer_sounds() {
    auto& ready = sound_.ready();
    bool offered = false;
    while (!ready.empty() && !outlet_.sounds->full()) {
        const Position position = ready.front().position;
        if (!outlet_.sounds->try_push(std::move(ready.front()))) {
            break;
        }
        ready.pop_front();
        offered = true;
        if (sound_only() && !offered_) {
            offered_ = has_played_ = true;
            outlet_.sound_begins(position);
            outlet_.facts_changed();
            outlet_.ready();
        }
    }
    return offered;
}

/// @return false when everything was brought out before
bool ForwardRun::finish_tracks() {
    // Without a picture the clock stands still and sound waits for ever: that is no reason to wait for it.
    const bool waits_for_sound = feed_.units().has_sound() && (offered_ || sound_.ready().empty());
    if (!feed_.at_end() || feed_.units().has_video() || waits_for_sound || tracks_finished_) {
        return false;
    }
    tracks_finished_ = true;
    last_certain_ = last_offered_.value_or(target_ - Ticks{1});
    video_.finish();
    outlet_.decoded(video_.take_decoded());
    outlet_.facts_changed();
    if (offered_ || !video_.ready().empty() || (sound_only() && !sound_.ready().empty())) {
        return true;
    }
    if (auto last = video_.take_last_unwanted()) {
        // The jump went behind the last picture: that one stays on the screen.
        video_.ready().push_back(std::move(*last));
        return true;
    }
    if (step_back()) {
        return true;
    }
    if (has_played_) {
        outlet_.nothing_beyond(target_);
    } else if (started_at_) {
        restart(std::nullopt, target_); // no access point served: as if there were none
    } else {
        try_next_approach();
    }
    return true;
}

void ForwardRun::try_next_approach() {
    if (approach_ == Approach::from_access_point && feed_.units().selection() &&
        feed_.units().selection()->video) {
        approach_ = Approach::from_anywhere;
        video_ = VideoTrack{outlet_.time}; // without hurry, which needs access points
        video_.accept_damaged_start();
        log_incident("file", "start", name_ + ": no access point, decoding begins without one");
    } else if (approach_ != Approach::sound_only && feed_.units().selection() &&
               feed_.units().selection()->audio) {
        approach_ = Approach::sound_only;
        log_incident("file", "start", name_ + ": no picture can be decoded, only sound plays");
    } else {
        throw UnplayableFile{"nothing in it can be decoded"};
    }
    // Sound that is played for want of pictures need not reach as far as they do.
    restart(std::nullopt, sound_only() ? Position{} : target_);
}

std::optional<Position> ForwardRun::limit() const {
    if (!feed_.at_end() || !tracks_finished_ || !video_.ready().empty() || !sound_.ready().empty()) {
        return std::nullopt;
    }
    return last_offered_ ? *last_offered_ + feed_.units().unit_duration() : sound_.end();
}

} // namespace velmora
