#include "play/reverse_run.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

namespace velmora {

namespace {

using namespace std::chrono_literals;
using Seconds = std::chrono::duration<double>;

constexpr std::size_t most_bytes_held = std::size_t{420} << 20U;
constexpr std::size_t most_pictures_held = 512;
constexpr std::size_t assumed_picture_bytes = std::size_t{1920} * 1088 * 3 / 2;
constexpr std::size_t smallest_window = 4;
/// Decoding a picture, as long as nothing was measured, and what reading and shrinking it add.
constexpr Seconds assumed_effort = 12ms;
constexpr double effort_beside = 1.25;
/// Pictures on which an estimate of it rests at most.
constexpr double longest_experience = 100.0;
/// What a window needs is begun when the pictures held last for so many times its work, and a moment longer.
constexpr double usual_precaution = 1.3;
constexpr Seconds usual_reserve = 300ms;
/// Below this the work is hurried.
constexpr double least_precaution = 1.1;
constexpr Seconds least_reserve = 100ms;
/// How much sooner hurried work is done, and how much at least while pictures are on their way to the screen.
constexpr double hurried_speed = 1.6;
constexpr double least_hurried_speed = 1.3;
/// Share of the time that decoding may take before pictures are left out.
constexpr double affordable_load = 0.9;
/// Real time behind the clock at which a stretch that was not begun is left out.
constexpr Seconds late_stretch = 200ms;
/// The rest of the group in which playing turned round, and the whole one in front of it, each in two parts:
/// they may take longer than what is on hand lasts.
constexpr int awaited_windows = 4;
/// A part of a group that leaves out less is not worth it.
constexpr double nearly_whole = 0.8;
/// Of the time in which the picture stood for them, what the screen makes up for by itself.
constexpr auto caught_up = 600ms;
/// What is left out of the stretches that cannot be decoded in time.
constexpr std::array<AVDiscard, 3> thinner{AVDISCARD_DEFAULT, AVDISCARD_NONREF, AVDISCARD_BIDIR};

std::size_t budget_for(std::size_t picture_bytes) {
    const std::size_t bytes = picture_bytes == 0 ? assumed_picture_bytes : picture_bytes;
    return std::clamp<std::size_t>(most_bytes_held / bytes, 12, most_pictures_held);
}

} // namespace

ReverseRun::ReverseRun(std::shared_ptr<const FileSource> source, AccessPointFinder& points, RunOutlet outlet,
                       const Stream& stream, Position from, const std::function<void()>& wake)
    : points_{points}, outlet_{std::move(outlet)}, stream_{stream}, budget_{budget_for(stream.picture_bytes)},
      effort_{stream.effort > Seconds::zero() ? stream.effort * effort_beside : assumed_effort},
      next_end_{from}, decoder_{std::move(source), wake} {}

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
    magnitude_ = magnitude;
    spacing_.set(magnitude, stream_.unit);
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
        if (!window->done || window->decoded == 0) {
            continue;
        }
        outlet_.decoded(std::exchange(window->decoded, 0));
        if (!window->is_urgent) { // else it took as long as the other threads left processors
            effort_ = (effort_ * experience_ + window->took) / (experience_ + window->work);
            experience_ = std::min(experience_ + window->work, longest_experience);
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
            outlet_.pictures->clock.hold_back_to(picture.position, SteadyClock::now() - caught_up);
        }
        const bool is_last = exhausted_ && windows_.size() == 1 && pictures.empty();
        if (offered_ && !is_last && !spacing_.admits(picture.position)) {
            continue;
        }
        picture.generation = outlet_.pictures->generation.load();
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

/// What decoding with this level costs, as a share of decoding everything.
double ReverseRun::cost(AVDiscard skip) const {
    constexpr double of_any_unit = 0.3;
    return of_any_unit + (1.0 - of_any_unit) * stream_.shares.kept(skip);
}

/// Pictures of the stream from where the next window is decoded to its end.
std::size_t ReverseRun::distance() const {
    return static_cast<std::size_t>(
        std::max<Ticks::rep>((next_end_ - start_->presentation) / stream_.unit, 1));
}

/// @param covered pictures of the stream that the window spans; those in front of it only serve as references
/// @return decoding it, in pictures
double ReverseRun::work(AVDiscard skip, double covered) const {
    const double in_front = std::max(static_cast<double>(distance()) - covered, 0.0);
    return covered * cost(skip) + in_front * cost(std::max(skip, AVDISCARD_NONREF));
}

/// How much of the stretch in front of the next window's end is decoded first, if the whole of it would come
/// too late. What lies in front of that is decoded a second time then.
/// @return pictures of the stream
double ReverseRun::part_in_time(AVDiscard skip, Seconds lasts) const {
    const auto whole = static_cast<double>(distance());
    const double reference = cost(std::max(skip, AVDISCARD_NONREF));
    const double saved = cost(skip) - reference;
    const Seconds each = effort_ / least_hurried_speed;
    if (begun_ >= awaited_windows || saved <= 0.0 || each * work(skip, whole) <= lasts + caught_up / 2) {
        return whole;
    }
    const double in_time = (lasts / each - whole * reference) / saved;
    // The rest is decoded while this part is shown.
    const Seconds needed = each * cost(skip);
    const double lasting = whole * (needed / (needed + Seconds{stream_.unit} / magnitude_));
    const double part = std::max(in_time, lasting);
    return part < whole * nearly_whole ? part : whole;
}

/// What the speed leaves out, and what the machine cannot decode in time.
AVDiscard ReverseRun::choose_skip() const {
    const AVDiscard planned = stream_.shares.skip_for(magnitude_);
    const Seconds interval = Seconds{stream_.unit} / magnitude_;
    const std::size_t usual_size = budget_ / 2;
    const auto is_affordable = [&](AVDiscard level) {
        const AVDiscard skip = std::max(planned, level);
        const double covered = std::min(static_cast<double>(distance()),
                                        static_cast<double>(usual_size) / stream_.shares.kept(skip));
        return effort_ / hurried_speed * work(skip, covered) <= interval * covered * affordable_load;
    };
    const auto* const first = std::ranges::find_if(thinner, is_affordable);
    return std::max(planned, first == thinner.end() ? thinner.back() : *first);
}

/// How long what is held lasts on the screen.
Seconds ReverseRun::reserve() const {
    const PlayClock clock = outlet_.pictures->clock.snapshot();
    if (clock.running()) {
        return clock.due(next_end_) - SteadyClock::now();
    }
    return Seconds{stream_.unit} / magnitude_ * static_cast<double>(held());
}

/// Finds where the next window can be decoded.
/// @return false when that is not known yet, or there is no more
bool ReverseRun::find_start() {
    if (!start_) {
        const auto found = points_.find(std::max(next_end_ - Ticks{1}, Position{}));
        exhausted_ = found && (!*found || (*found)->presentation >= next_end_);
        start_ = found && !exhausted_ ? *found : std::nullopt;
        const auto before = start_ ? points_.find_before(start_->presentation, *start_) : std::nullopt;
        group_in_front_ = before ? (start_->presentation - before->presentation) / stream_.unit : 0;
    }
    return start_.has_value();
}

/// Whether the next window, and the group in front of it as well, can be begun later.
/// @param needed time that decoding the window takes
/// @param covered pictures of the stream that it spans
/// @param lasts time for which there are pictures without it
bool ReverseRun::is_early(Seconds needed, double covered, Seconds lasts, AVDiscard skip) const {
    const Seconds last_then = lasts - needed + Seconds{stream_.unit} / magnitude_ * covered;
    const double group = covered < static_cast<double>(distance()) ? static_cast<double>(distance()) - covered
                                                                   : static_cast<double>(group_in_front_);
    const Seconds needed_then = effort_ * cost(skip) * group;
    return lasts > needed * usual_precaution + usual_reserve &&
           last_then > needed_then * usual_precaution + usual_reserve;
}

/// @return true when a window was begun
bool ReverseRun::schedule() {
    if (exhausted_ || !find_start() || !decoder_.is_idle() || !skip_what_is_late()) {
        return false;
    }
    // The fewest pictures are decoded twice when a window reaches back to where its decoding begins: there
    // must be room for that, or at least for half of what may be held.
    const AVDiscard skip = choose_skip();
    const double kept = stream_.shares.kept(skip);
    const auto whole =
        std::max(static_cast<std::size_t>(static_cast<double>(distance()) * kept), smallest_window);
    const std::size_t room = budget_ - std::min(held(), budget_);
    const Seconds lasts = reserve();
    const auto in_time = static_cast<std::size_t>(part_in_time(skip, lasts) * kept);
    const std::size_t size = std::min({whole, room, std::max(in_time, smallest_window)});
    const double covered = static_cast<double>(size) / kept;
    const Seconds needed = effort_ * work(skip, covered);
    if (room < std::min(whole, budget_ / 2) || is_early(needed, covered, lasts, skip)) {
        return false;
    }
    auto window = std::make_shared<DecodedWindow>();
    window->start = start_;
    window->to = next_end_;
    window->from = start_->clean_from;
    if (size < whole) {
        const auto units = static_cast<Ticks::rep>(static_cast<double>(size) / kept);
        window->from = std::max(window->from, next_end_ - units * stream_.unit);
    }
    if (window->from >= window->to) {
        window->from = start_->presentation;
    }
    window->skip = skip;
    window->expected = size;
    window->work = work(skip, static_cast<double>((window->to - window->from) / stream_.unit));
    window->is_urgent = lasts < needed * least_precaution + least_reserve;
    window->is_awaited = begun_ < awaited_windows;
    ++begun_;
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
    const SteadyTime now = SteadyClock::now();
    if (!clock.running() || now - clock.due(next_end_) <= late_stretch) {
        return true;
    }
    const Position shown = std::max(clock.position(now), Position{stream_.unit});
    if (shown <= start_->presentation) {
        next_end_ = shown;
        start_.reset();
        if (!find_start()) {
            return false;
        }
    }
    // While it is decoded the clock goes on as well.
    const double work_per_time = effort_ / hurried_speed / Seconds{stream_.unit} * magnitude_;
    const Ticks distance = next_end_ - start_->presentation;
    const auto due = start_->presentation +
                     Ticks{std::llround(static_cast<double>((shown - start_->presentation).count()) /
                                        (1.0 + work_per_time))};
    next_end_ = std::clamp(due, start_->presentation + std::min(stream_.unit, distance), next_end_);
    return true;
}

std::optional<Position> ReverseRun::limit() const {
    if (!exhausted_ || !windows_.empty()) {
        return std::nullopt;
    }
    return last_offered_.value_or(next_end_);
}

} // namespace velmora
