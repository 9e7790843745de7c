#include "play/reverse_run.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

namespace velmora {

namespace {

using namespace std::chrono_literals;

constexpr std::size_t most_bytes_held = std::size_t{360} << 20U;
constexpr std::size_t most_pictures_held = 320;
/// Beyond this many one decoder after the other is early enough, and spares memory and processor caches.
constexpr std::size_t comfortable_reserve = 50;
constexpr std::size_t assumed_picture_bytes = std::size_t{1920} * 1088 * 3 / 2;
constexpr std::size_t smallest_window = 4;
/// The first windows are small, so that the picture turns round soon; in pictures.
constexpr std::array<std::size_t, 3> first_windows{6, 12, 25};
/// But so large a share of what has to be decoded for them that they are worth it: one in so many.
constexpr std::size_t worthwhile_share = 3;
/// Real time behind the clock at which a stretch that was not begun is left out.
constexpr std::chrono::duration<double> late_stretch = 200ms;
/// What is left out of the stretches then, more and more: a window reaches further back that way.
constexpr std::array<AVDiscard, 3> thinner{AVDISCARD_DEFAULT, AVDISCARD_NONREF, AVDISCARD_BIDIR};

std::size_t budget_for(std::size_t picture_bytes) {
    const std::size_t bytes = picture_bytes == 0 ? assumed_picture_bytes : picture_bytes;
    return std::clamp<std::size_t>(most_bytes_held / bytes, 12, most_pictures_held);
}

} // namespace

ReverseRun::ReverseRun(std::shared_ptr<const FileSource> source, AccessPointFinder& points, RunOutlet outlet,
                       const Stream& stream, Position from, const std::function<void()>& wake)
    : points_{points}, outlet_{std::move(outlet)}, stream_{stream}, budget_{budget_for(stream.picture_bytes)},
      next_end_{from}, decoders_{{{source, wake}, {source, wake}}} {}

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
        if (window->done && window->decoded > 0) {
            outlet_.decoded(std::exchange(window->decoded, 0));
            last_took_ = window->took;
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

/// @param distance from where decoding begins to the window's end, pictures
std::size_t ReverseRun::next_size(std::size_t distance) const {
    const std::size_t usual = std::max(budget_ * 2 / 5, smallest_window);
    if (windows_begun_ >= first_windows.size()) {
        return usual;
    }
    return std::min(std::max(first_windows[windows_begun_], distance / worthwhile_share), usual);
}

/// Whether what is held lasts until the next window would be decoded, as far as the last one tells.
bool ReverseRun::has_reserve() const {
    return !windows_.empty() && held() > std::max(windows_.back()->expected, comfortable_reserve);
}

/// @return true when a window was begun
bool ReverseRun::schedule() {
    const auto decoder = std::ranges::find_if(decoders_, &WindowDecoder::is_idle);
    if (exhausted_ || decoder == decoders_.end() || has_reserve() || held() + smallest_window > budget_) {
        return false;
    }
    skip_what_is_late();
    const auto start = points_.find(std::max(next_end_ - Ticks{1}, Position{}));
    if (!start) {
        return false;
    }
    if (!*start || (*start)->presentation >= next_end_) {
        exhausted_ = true;
        return true;
    }
    const auto distance = static_cast<std::size_t>((next_end_ - (*start)->presentation) / stream_.unit);
    const std::size_t size = std::min(next_size(distance), budget_ - held());
    // At higher speeds a window of as many decoded pictures reaches further.
    const AVDiscard skip = std::max(stream_.shares.skip_for(magnitude_), thinner[thinning_]);
    const double kept = stream_.shares.kept(skip);
    const auto units = static_cast<Ticks::rep>(static_cast<double>(size) / kept);
    auto window = std::make_shared<DecodedWindow>();
    window->start = *start;
    window->to = next_end_;
    window->from = std::max((*start)->clean_from, next_end_ - units * stream_.unit);
    if (window->from >= window->to) {
        window->from = (*start)->presentation;
    }
    window->skip = skip;
    const double covered = static_cast<double>((window->to - window->from) / stream_.unit) * kept;
    window->expected = std::min(size, static_cast<std::size_t>(std::max(covered, 1.0)));
    window->display = outlet_.pictures->display.load();
    next_end_ = window->from;
    ++windows_begun_;
    windows_.push_back(window);
    decoder->decode(std::move(window));
    return true;
}

/// On a machine that cannot decode in time the position stays right, and pictures are left out: the next
/// window is one that will be due when it is decoded. The file's first picture is never left out.
void ReverseRun::skip_what_is_late() {
    const PlayClock clock = outlet_.pictures->clock.snapshot();
    const SteadyTime now = SteadyClock::now();
    if (clock.running() && now - clock.due(next_end_) > late_stretch) {
        const Position due = std::max(clock.position(now + last_took_), Position{stream_.unit});
        next_end_ = std::min(next_end_, due);
        thinning_ = std::min(thinning_ + 1, thinner.size() - 1);
    } else if (thinning_ > 0) {
        --thinning_;
    }
}

std::optional<Position> ReverseRun::limit() const {
    if (!exhausted_ || !windows_.empty()) {
        return std::nullopt;
    }
    return last_offered_.value_or(next_end_);
}

} // namespace velmora
