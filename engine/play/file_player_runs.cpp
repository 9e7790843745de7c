// Which run plays: jumps, and turns where the tempo asks for another.
#include "play/file_player.h"

#include "play/key_run.h"
#include "play/reverse_run.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace velmora {

namespace {

/// Pictures on which the effort of decoding one rests in a plan.
constexpr std::size_t least_measured = 25;

} // namespace

bool FilePlayer::seek_if_wanted() {
    std::optional<Position> wanted;
    {
        const std::lock_guard lock{mutex_};
        wanted = wanted_position_;
    }
    if (!wanted) {
        return true;
    }
    const auto target = target_of(*wanted);
    const auto start = target ? points_->find(*target) : std::nullopt;
    if (!start) {
        return false;
    }
    {
        const std::lock_guard lock{mutex_};
        if (wanted_position_ == wanted) {
            wanted_position_.reset(); // else a newer command waits and is next
        }
    }
    is_finishing_ = false;
    begin_forward(*start, *target);
    return true;
}

/// @return nothing while the end is wanted but not known
std::optional<Position> FilePlayer::target_of(Position wanted) const {
    const IndexExtent extent = points_->extent();
    if (extent.complete) {
        return std::min(wanted, extent.last_picture);
    }
    if (wanted != the_end) {
        return wanted;
    }
    const Position estimated = extent.estimated_end - forward_->feed().units().unit_duration();
    return estimated > Position{} ? std::optional{estimated} : std::nullopt;
}

/// Nothing that was offered before is shown any more, and the clock waits for the run that begins here.
void FilePlayer::hold_at(Position position) {
    slow_decoding_.withdraw();
    {
        const std::lock_guard lock{mutex_};
        pictures_->clock.hold(position);
        rest_ = Rest::none;
        last_delivered_.reset();
    }
    status_.update([](PlaybackFacts& facts, StreamCounters&) {
        facts.at_end = false;
        facts.at_start = false;
    });
}

/// From here the forward run shows the picture at `target` and goes on.
void FilePlayer::begin_forward(const DecodingStart& start, Position target) {
    other_.reset();
    data_.restart(target);
    hold_at(target);
    {
        const std::lock_guard lock{mutex_};
        last_shown_.reset();
        // Where another run takes over at once, the clock waits for it.
        pictures_->clock.set_rate(is_suited(tempo_) ? tempo_.rate() : 0.0, time_.now());
    }
    forward_->begin(start, target);
}

PlayRun& FilePlayer::active() const {
    return other_ ? *other_ : *forward_;
}

/// Whether the active run can play that way.
bool FilePlayer::is_suited(const Tempo& tempo) const {
    if (tempo.is_paused() || is_finishing_ || forward_->sound_only()) {
        return true;
    }
    const bool is_forward = !tempo.is_reverse() && !tempo.is_fast();
    return other_ ? tempo.direction == followed_.direction && tempo.is_fast() == followed_.is_fast()
                  : is_forward;
}

void FilePlayer::follow_tempo() {
    Tempo tempo;
    std::optional<Position> shown;
    {
        const std::lock_guard lock{mutex_};
        tempo = tempo_;
        shown = last_shown_;
        if (!shown && rest_ != Rest::none) {
            shown = pictures_->clock.snapshot().position(time_.now());
        }
    }
    if (tempo.is_paused()) {
        slow_decoding_.withdraw();
        return;
    }
    if (tempo != followed_) {
        is_finishing_ = false;
    }
    if (!is_suited(tempo)) {
        if (shown) {
            turn(*shown, tempo);
        }
        return;
    }
    if (tempo != followed_) {
        if (!other_ && forward_->lacks_references() && shown) {
            turn(*shown, tempo);
            return;
        }
        followed_ = tempo;
        active().set_magnitude(std::abs(tempo.rate()));
    }
    set_clock_rate(forward_->sound_only() ? std::abs(tempo.rate()) : tempo.rate());
}

void FilePlayer::set_clock_rate(double rate) {
    {
        const std::lock_guard lock{mutex_};
        if (tempo_.is_paused() || !pictures_->clock.set_rate(rate, time_.now())) {
            return;
        }
    }
    hooks_.clock_changed();
}

/// Another run takes over at the picture that is on the screen.
void FilePlayer::turn(Position from, const Tempo& tempo) {
    if (tempo.is_reverse() || tempo.is_fast()) {
        begin_other(from, tempo);
    } else {
        const auto start = points_->find(from);
        if (!start) {
            return;
        }
        begin_forward(*start, from);
        forward_->set_magnitude(tempo.rate());
    }
    followed_ = tempo;
    const std::lock_guard lock{mutex_};
    if (!tempo_.is_paused()) {
        pictures_->clock.set_rate(tempo.rate(), time_.now());
    }
}

void FilePlayer::begin_other(Position from, const Tempo& tempo) {
    hold_at(from);
    pictures_->pictures.clear();
    sounds_->clear();
    hooks_.discard_sound();
    if (tempo.is_fast()) {
        const auto direction = tempo.is_reverse() ? KeyRun::Direction::reverse : KeyRun::Direction::forward;
        other_ = std::make_unique<KeyRun>(source_, *points_, make_outlet(), direction, from);
    } else {
        const ReverseStream stream{forward_->feed().units().unit_duration(), held_bytes(),
                                   forward_->video().shares(), forward_->video().effort(least_measured)};
        auto reverse =
            std::make_unique<ReverseRun>(source_, *points_, make_outlet(), stream, from, [this] { wake(); });
        if (tempo.speed == Speed::normal) {
            reverse->begin_with(pictures_->recent->take());
        }
        other_ = std::move(reverse);
    }
    other_->set_magnitude(std::abs(tempo.rate()));
}

} // namespace velmora
