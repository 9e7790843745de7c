#include "play/window_decoder.h"

#include "diagnostics/log.h"

#include <exception>
#include <string>
#include <utility>

namespace velmora {

WindowDecoder::WindowDecoder(std::shared_ptr<const FileSource> source, TimeSource& time,
                             std::function<void()> on_done)
    : time_{time}, on_done_{std::move(on_done)}, feed_{std::move(source)}, video_{time},
      thread_{time, [this](const std::stop_token& stop) { run(stop); }} {}

void WindowDecoder::decode(std::shared_ptr<DecodedWindow> window) {
    idle_ = false;
    {
        const std::lock_guard lock{mutex_};
        job_ = std::move(window);
    }
    changed_->notify();
}

void WindowDecoder::run(const std::stop_token& stop) {
    while (!stop.stop_requested()) {
        std::shared_ptr<DecodedWindow> job;
        {
            const std::lock_guard lock{mutex_};
            job = std::exchange(job_, nullptr);
        }
        if (!job) {
            changed_->wait(stop);
            continue;
        }
        try {
            work_on(*job, stop);
        } catch (const std::exception& error) {
            log_incident("file", "window", std::string{"a stretch was left out: "} + error.what());
        }
        job->done = true;
        job.reset();
        idle_ = true;
        on_done_();
    }
}

std::uint64_t WindowDecoder::errors() const {
    return video_.errors() + feed_.units().continuity_errors();
}

void WindowDecoder::work_on(DecodedWindow& window, const std::stop_token& stop) {
    const SteadyTime begun = time_.now();
    const std::uint64_t past_errors = errors();
    feed_.seek(window.start);
    video_.set_hurry(window.is_urgent ? Hurry::always : Hurry::never);
    video_.restart(window.from);
    video_.set_skip(window.skip);
    bool is_finished = false;
    while (!is_finished && !window.abandoned && !stop.stop_requested()) {
        if (auto unit = feed_.units().take_video()) {
            video_.decode(std::move(*unit));
        } else if (!feed_.read_more()) {
            video_.finish();
            is_finished = true;
        }
        while (feed_.units().take_sound()) {
            // Nothing is heard in reverse.
        }
        for (Picture& picture : video_.ready()) {
            if (picture.position >= window.to) {
                is_finished = true;
                break;
            }
            shrinker_.shrink(picture, window.display);
            window.pictures.push_back(std::move(picture));
        }
        video_.ready().clear();
    }
    window.decoded = video_.take_decoded();
    window.errors = errors() - past_errors;
    window.took = time_.now() - begun;
}

} // namespace velmora
