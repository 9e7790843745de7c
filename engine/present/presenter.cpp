#include "present/presenter.h"

#include "diagnostics/log.h"

#include <exception>
#include <string>
#include <utility>

namespace velmora {

namespace {

constexpr std::size_t lookahead = 2; // the next picture, and one more to know whether the next is late

} // namespace

Presenter::Presenter(TimeSource& time)
    : time_{time}, changed_{time.make_signal()}, thread_{time,
                                                         [this](const std::stop_token& stop) { run(stop); }} {
}

void Presenter::set_overlay(Overlay overlay) {
    auto shared = overlay ? std::make_shared<const Overlay>(std::move(overlay)) : nullptr;
    const std::lock_guard lock{mutex_};
    overlay_.swap(shared);
}

void Presenter::set_display_size(PictureSize size) {
    const std::lock_guard lock{mutex_};
    if (size.width <= 0 || size.height <= 0 || display_ == size) {
        return;
    }
    display_ = size;
    if (source_) {
        source_->display = size;
    }
    redraw_ = true;
    changed_->notify();
}

void Presenter::attach(std::shared_ptr<PictureSource> source) {
    const std::lock_guard lock{mutex_};
    if (source_ == source) {
        return;
    }
    source_ = std::move(source);
    catch_up_ = {};
    redraw_ = source_ && source_->picture_lasts && source_->shown.frame;
    if (source_) {
        source_->display = display_.value_or(PictureSize{});
    }
    changed_->notify();
}

void Presenter::detach(const PictureSource& source) {
    Lock lock{mutex_};
    if (source_.get() == &source) {
        source_.reset();
        redraw_ = false;
    }
    if (!is_own_thread()) {
        delivered_.wait(lock, [&] { return delivering_.get() != &source; });
    }
}

void Presenter::settle() {
    Lock lock{mutex_};
    if (!is_own_thread()) {
        delivered_.wait(lock, [&] { return delivering_ == nullptr || delivering_ == source_; });
    }
}

void Presenter::wake() {
    changed_->notify();
}

void Presenter::run(const std::stop_token& stop) {
    while (!stop.stop_requested()) {
        SteadyTime next_due = SteadyTime::max();
        try {
            Lock lock{mutex_};
            if (step(lock, next_due)) {
                continue;
            }
        } catch (const std::exception& error) {
            log_incident("presenter", "step", std::string{"a picture was left out: "} + error.what());
        }
        changed_->wait(stop, next_due);
    }
}

bool Presenter::step(Lock& lock, SteadyTime& next_due) {
    if (redraw_) {
        redraw_ = false;
        Picture again;
        if (source_ && source_->shown.frame) {
            again.frame.reset(av_frame_clone(source_->shown.frame.get()));
        }
        if (again.frame) {
            deliver(lock, std::move(again), false);
        }
        return true;
    }
    if (!source_) {
        return false;
    }
    look_ahead();
    auto& ahead = source_->ahead;
    if (ahead.empty()) {
        return false;
    }
    const PlayClock clock = source_->clock.snapshot();
    const SteadyTime now = time_.now();
    const auto is_due = [&](const Picture& picture) {
        return picture.is_preview || picture.begins_run || clock.due(picture.position) <= now;
    };
    if (!is_due(ahead.front())) {
        next_due = clock.due(ahead.front().position);
        return false;
    }
    const bool follows = !ahead.front().is_preview && !ahead.front().begins_run;
    const SteadyTime due = clock.due(ahead.front().position);
    const bool is_patient = follows && !catch_up_.has_failed(now - due, source_->patience, now);
    if (is_patient && now < catch_up_.soonest(due)) {
        next_due = catch_up_.soonest(due);
        return false;
    }
    Picture picture = std::move(ahead.front());
    ahead.pop_front();
    const Picture& shown = source_->shown;
    if (picture.begins_run && shown.frame && shown.is_preview && shown.generation == picture.generation) {
        // The preview of this picture is on the screen.
        begin_run(lock, std::move(picture));
        return true;
    }
    if (!picture.begins_run && !is_patient && !ahead.empty() && is_due(ahead.front())) {
        // Late: nothing is converted that would be replaced at once.
        if (source_->recent) {
            source_->recent->forget();
        }
        if (source_->on_dropped) {
            source_->on_dropped(picture);
        }
        return true;
    }
    catch_up_.shown(due, now);
    deliver(lock, std::move(picture), true);
    return true;
}

void Presenter::look_ahead() {
    // A jump may raise the generation at any moment: each picture is held against the latest.
    const auto is_stale = [&](const Picture& picture) {
        return picture.generation != source_->clock.generation();
    };
    std::erase_if(source_->ahead, is_stale);
    while (source_->ahead.size() < lookahead) {
        auto picture = source_->pictures.try_pop();
        if (!picture) {
            return;
        }
        if (!is_stale(*picture)) {
            source_->ahead.push_back(std::move(*picture));
        }
    }
}

void Presenter::begin_run(Lock& lock, Picture picture) {
    const auto source = source_;
    delivering_ = source;
    lock.unlock();
    if (source->recent) {
        source->recent->forget();
    }
    source->clock.begin_run(picture.generation, picture.position, time_.now());
    if (source->on_shown) {
        source->on_shown(picture);
    }
    if (source->on_delivered) {
        source->on_delivered(picture);
    }
    lock.lock();
    source->shown = std::move(picture);
    end_delivery();
}

/// Keeps what belongs to one uninterrupted stretch of plain playing.
void Presenter::remember(const PictureSource& source, const Picture& picture, const RgbPicture& rgb) {
    const bool is_plain = source.clock.snapshot().rate() == 1.0;
    if (picture.begins_run || picture.is_preview || !is_plain) {
        source.recent->forget();
    }
    if (!picture.is_preview && (is_plain || picture.begins_run) && !rgb.bytes.empty()) {
        source.recent->keep(picture, rgb);
    }
}

void Presenter::deliver(Lock& lock, Picture picture, bool is_new) {
    const auto source = source_;
    const auto display = display_;
    const auto overlay = overlay_;
    delivering_ = source;
    lock.unlock();
    try {
        const PictureSize size = delivered_size(square_pixel_size(*picture.frame), display);
        const RgbPicture rgb = converter_.convert(*picture.frame, size);
        if (is_new && source->recent) {
            remember(*source, picture, rgb);
        }
        if (is_new && picture.begins_run) {
            source->clock.begin_run(picture.generation, picture.position, time_.now());
        }
        if (is_new && source->on_shown) {
            source->on_shown(picture);
        }
        if (overlay && !rgb.bytes.empty() && is_attached(*source)) {
            (*overlay)(rgb);
        }
        if (is_new && source->on_delivered) {
            source->on_delivered(picture);
        }
    } catch (const std::exception& error) {
        log_incident("presenter", "delivery", std::string{"a picture was left out: "} + error.what());
    }
    lock.lock();
    if (is_new) {
        source->shown = std::move(picture);
    }
    end_delivery();
}

/// The display may have gone to another one while a picture was converted.
bool Presenter::is_attached(const PictureSource& source) {
    const std::lock_guard lock{mutex_};
    return source_.get() == &source;
}

void Presenter::end_delivery() {
    delivering_.reset();
    delivered_.notify_all();
}

} // namespace velmora
