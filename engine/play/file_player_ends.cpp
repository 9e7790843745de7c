// Where playing comes to rest, and what leads on from there.
#include "play/file_player.h"

namespace velmora {

/// A file that grows again after playing came to its end is played on.
void FilePlayer::follow_growth() {
    {
        const std::lock_guard lock{mutex_};
        if (rest_ != Rest::at_end || other_ || tempo_.is_paused() || tempo_.is_reverse()) {
            return;
        }
    }
    if (!forward_->last_certain() || points_->extent().last_picture <= resting_extent_) {
        return;
    }
    const Position from = *forward_->last_certain() + Ticks{1};
    if (const auto start = points_->find(from)) {
        is_finishing_ = false;
        begin_forward(*start, from);
    }
}

void FilePlayer::check_limit() {
    const auto limit = active().limit();
    if (!limit) {
        return;
    }
    const auto offered = active().last_offered();
    {
        const std::lock_guard lock{mutex_};
        const bool is_shown = !offered || (pictures_->clock.has_begun() && last_delivered_ == offered);
        if (rest_ != Rest::none || tempo_.is_paused() || !is_shown) {
            return;
        }
        if (!other_ &&
            (!pictures_->clock.has_begun() || pictures_->clock.snapshot().position(time_.now()) < *limit)) {
            return;
        }
    }
    if (begin_again()) {
        return;
    }
    if (other_ && followed_.is_reverse()) {
        rest(Rest::at_start, *limit);
    } else if (other_ || lacks_the_last_picture()) {
        finish_with_the_last_picture();
    } else {
        rest(Rest::at_end, *limit);
    }
}

/// Whether forward play left it out.
bool FilePlayer::lacks_the_last_picture() const {
    const IndexExtent extent = points_->extent();
    return !is_finishing_ && forward_->leaves_out() && extent.complete &&
           forward_->last_offered() < extent.last_picture;
}

/// Whatever was left out on the way to the end, the last picture stays.
void FilePlayer::finish_with_the_last_picture() {
    const Position last = points_->extent().last_picture;
    if (const auto start = points_->find(last)) {
        is_finishing_ = true;
        begin_forward(*start, last);
        wake();
    }
}

/// @return false when it does not repeat, or there is no more than one picture or moment
bool FilePlayer::begin_again() {
    if (!setup_.repeats || points_->extent().end <= forward_->feed().units().unit_duration() + Position{}) {
        return false;
    }
    {
        const std::lock_guard lock{mutex_};
        if (wanted_position_) {
            return true; // it waits until the position is known
        }
        wanted_position_ = other_ && followed_.is_reverse() ? the_end : Position{};
    }
    wake();
    return true;
}

void FilePlayer::rest(Rest rest, Position at) {
    slow_decoding_.withdraw();
    resting_extent_ = points_->extent().last_picture;
    {
        const std::lock_guard lock{mutex_};
        rest_ = rest;
        pictures_->clock.stop_at(at);
    }
    status_.update([&](PlaybackFacts& facts, StreamCounters&) {
        facts.at_end = rest == Rest::at_end;
        facts.at_start = rest == Rest::at_start;
    });
}

} // namespace velmora
