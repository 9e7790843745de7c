#include "play/reverse_run.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace velmora {

namespace {

using namespace std::chrono_literals;
/// Real time behind the clock at which a stretch that was not begun is left out.
constexpr auto late_stretch = 200ms;

} // namespace

ReverseRun::ReverseRun(std::shared_ptr<const FileSource> source, AccessPointFinder& points, RunOutlet outlet,
                       const ReverseStream& stream, Position from, const std::function<void()>& wake)
    : points_{points}, outlet_{std::move(outlet)}, unit_{stream.unit}, plan_{stream}, next_end_{from},
      decoder_{std::move(source), outlet_.time, wake} {}

ReverseRun::~ReverseRun() {
    abandon_windows();
}

void ReverseRun::abandon_windows() {
    for (const auto& window : windows_) {
        window->abandoned = true;
    }
    windows_.clear();
}

void ReverseRun::set_magnitude(double magnitude) {
    if (magnitude == 0.0) {
        return; // what is decoded waits
    }
    plan_.set_magnitude(magnitude);
    spacing_.set(magnitude, unit_);
}

void ReverseRun::begin_with(std::deque<Picture> shown) {
    while (!shown.empty() && shown.back().position > next_end_) {
        shown.pop_back();
    }
    if (shown.size() < 2 || shown.back().position != next_end_) {
        return;
    }
    shown.pop_back();
    auto window = std::make_shared<DecodedWindow>();
    window->to = next_end_;
    window->from = shown.front().position;
    window->pictures = std::move(shown);
    window->done = true;
    next_end_ = window->from;
    windows_.push_back(std::move(window));
}

bool ReverseRun::work() {
    take_account();
    const bool scheduled = schedule(); // first, so that the last picture is known to be it
    return offer() || scheduled;
}

void ReverseRun::take_account() {
    for (const auto& window : windows_) {
        if (!window->done) {
            continue;
        }
        outlet_.failed(std::exchange(window->errors, 0));
        if (window->decoded == 0) {
            continue;
        }
        outlet_.decoded(std::exchange(window->decoded, 0));
        if (!window->is_urgent) { // else it took as long as the other threads left processors
            plan_.learn(window->work, window->took);
        }
    }
}

bool ReverseRun::offer() {
    auto& queue = outlet_.pictures->pictures;
    bool offered = false;
    while (!windows_.empty() && windows_.front()->done && !queue.full()) {
        auto& pictures = windows_.front()->pictures;
        if (pictures.empty()) {
            windows_.pop_front();
            offered = true;
            continue;
        }
        Picture picture = std::move(pictures.back());
        pictures.pop_back();
        if (std::exchange(windows_.front()->is_awaited, false)) {
            // After turning round the picture stands until the next is there, instead of leaving something
            // out.
            outlet_.pictures->clock.hold_back_to(picture.position,
                                                 outlet_.time.now() - ReversePlan::caught_up);
        }
        const bool is_last = exhausted_ && windows_.size() == 1 && pictures.empty();
        if (offered_ && !is_last && !spacing_.admits(picture.position)) {
            continue;
        }
        picture.generation = outlet_.pictures->clock.generation();
        picture.begins_run = !offered_;
        last_offered_ = picture.position;
        offered_ = true;
        offered = true;
        queue.try_push(std::move(picture));
    }
    return offered;
}

std::size_t ReverseRun::held() const {
    std::size_t held = 0;
    for (const auto& window : windows_) {
        held += window->done ? window->pictures.size() : window->expected;
    }
    return held;
}

/// Pictures of the stream from where the next window is decoded to its end.
double ReverseRun::distance() const {
    return static_cast<double>(std::max<Ticks::rep>((next_end_ - start_->presentation) / unit_, 1));
}

/// How long what is held lasts on the screen.
ReversePlan::Seconds ReverseRun::reserve() const {
    const PlayClock clock = outlet_.pictures->clock.snapshot();
    if (clock.running()) {
        return clock.due(next_end_) - outlet_.time.now();
    }
    return plan_.interval() * static_cast<double>(held());
}

/// Finds where the next window can be decoded.
/// @return false when that is not known yet, or there is no more
bool ReverseRun::find_start() {
    if (!start_) {
        const auto found = points_.find(std::max(next_end_ - Ticks{1}, Position{}));
        exhausted_ = found && (!*found || (*found)->presentation >= next_end_);
        start_ = found && !exhausted_ ? *found : std::nullopt;
        const auto before = start_ ? points_.find_before(start_->presentation, *start_) : std::nullopt;
        group_in_front_ = before ? (start_->presentation - before->presentation) / unit_ : 0;
    }
    return start_.has_value();
}

/// @return true when a window was begun
bool ReverseRun::schedule() {
    if (exhausted_ || !find_start() || !decoder_.is_idle() || !skip_what_is_late()) {
        return false;
    }
    const auto stretch = plan_.next({.distance = distance(),
                                     .group_in_front = static_cast<double>(group_in_front_),
                                     .held = held(),
                                     .lasts = reserve()});
    if (!stretch) {
        return false;
    }
    auto window = std::make_shared<DecodedWindow>();
    window->start = start_;
    window->to = next_end_;
    window->from = start_->clean_from;
    if (!stretch->is_whole) {
        window->from = std::max(window->from, next_end_ - static_cast<Ticks::rep>(stretch->covered) * unit_);
    }
    if (window->from >= window->to) {
        window->from = start_->presentation;
    }
    window->skip = stretch->skip;
    outlet_.keeps_up(!stretch->is_thinned && !std::exchange(has_skipped_, false));
    window->expected = stretch->pictures;
    window->work =
        plan_.work(stretch->skip, distance(), static_cast<double>((window->to - window->from) / unit_));
    window->is_urgent = stretch->is_urgent;
    window->is_awaited = stretch->is_awaited;
    window->display = outlet_.pictures->display.load();
    next_end_ = window->from;
    start_.reset();
    windows_.push_back(window);
    decoder_.decode(std::move(window));
    return true;
}

/// On a machine that cannot decode in time the position stays right, and pictures are left out: the next
/// window ends where it will be due when it is decoded. The file's first picture is never left out.
/// @return false when it is not known yet from where that can be decoded
bool ReverseRun::skip_what_is_late() {
    const PlayClock clock = outlet_.pictures->clock.snapshot();
    const SteadyTime now = outlet_.time.now();
    const auto late = now - clock.due(next_end_);
    if (!clock.running() || late <= late_stretch || plan_.comes_in_time(late, distance())) {
        return true;
    }
    const Position shown = std::max(clock.position(now), Position{unit_});
    if (shown <= start_->presentation) {
        next_end_ = shown;
        start_.reset();
        if (!find_start()) {
            return false;
        }
    }
    const Position begin = start_->presentation;
    has_skipped_ = true;
    next_end_ = std::clamp(begin + plan_.end_in_time(shown - begin),
                           begin + std::min(unit_, next_end_ - begin), next_end_);
    return true;
}

std::optional<Position> ReverseRun::limit() const {
    if (!exhausted_ || !windows_.empty()) {
        return std::nullopt;
    }
    return last_offered_.value_or(next_end_);
}

} // namespace velmora
