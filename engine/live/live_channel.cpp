#include "live/live_channel.h"

#include "diagnostics/log.h"
#include "receive/address_text.h"
#include "receive/rtsp_address.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

namespace velmora {

namespace {

/// What a user knows the source by.
std::string source_name(const ReceiverSetup& setup) {
    if (is_rtsp(setup.transport)) {
        return rtsp_address(setup).shown_url;
    }
    const std::string port = std::to_string(setup.port);
    if (setup.transport == Transport::split) {
        return "UDP ports " + port + " to " + std::to_string(setup.port + ports_of_a_split_stream - 1);
    }
    return setup.group == 0 ? "UDP port " + port : "UDP " + address_text(setup.group) + ':' + port;
}

} // namespace

void LiveChannel::set_streaming(StreamingSetup setup) {
    const std::lock_guard lock{mutex_};
    streaming_ = std::move(setup);
}

void LiveChannel::set_recording(RecorderSetup setup) {
    const std::lock_guard lock{mutex_};
    recorder_setup_ = std::move(setup);
}

/// @return nothing, and a message, when nothing can be received
std::shared_ptr<Reception> LiveChannel::open_reception(const StreamingSetup& streaming) {
    try {
        if (!streaming.problem.empty()) {
            throw ReceptionError{streaming.problem};
        }
        auto reception = std::make_shared<Reception>(streaming.receiver, time_);
        if (const auto& target = streaming.retransmission) {
            auto retransmitter = std::make_shared<Retransmitter>(target->ip, target->port);
            reception->subscribe(
                Reception::Subscriber::retransmission,
                [retransmitter](const SharedBlock& block) { retransmitter->send(*block); },
                Reception::From::now);
        }
        return reception;
    } catch (const ReceptionError& error) {
        messages_.post(MessageBoard::Severity::error, "live", "start",
                       "Nothing can be received: " + std::string{error.what()});
        return nullptr;
    }
}

/// @return a copy, or nothing and a line for the developer
std::optional<StreamingSetup> LiveChannel::streaming() const {
    const std::lock_guard lock{mutex_};
    if (!streaming_) {
        log_incident("live", "start", "there is no source to receive from, nothing started");
    }
    return streaming_;
}

std::shared_ptr<LiveView> LiveChannel::start_view() {
    const std::lock_guard command{command_mutex_};
    const auto streaming = this->streaming();
    std::shared_ptr<Reception> previous;
    std::shared_ptr<LiveView> previous_view;
    std::shared_ptr<Recorder> recorder;
    {
        const std::lock_guard lock{mutex_};
        previous_view = std::exchange(view_, nullptr);
        previous = std::exchange(reception_, nullptr);
        recorder = recorder_;
    }
    previous.reset(); // its port may be asked for again
    previous_view.reset();
    auto reception = streaming ? open_reception(*streaming) : nullptr;
    if (!reception) {
        return nullptr;
    }
    {
        const std::lock_guard lock{mutex_};
        reception_ = reception;
    }
    const auto trouble = [weak = std::weak_ptr{reception}] {
        const auto open = weak.lock();
        return open ? open->trouble() : std::string{};
    };
    auto view = std::make_shared<LiveView>(streaming->sync_delay,
                                           SignalWatch::Source{source_name(streaming->receiver), trouble},
                                           time_, messages_, hooks_);
    reception->subscribe(
        Reception::Subscriber::view, [view](const SharedBlock& block) { view->feed(block); },
        Reception::From::now);
    attach_recorder(recorder);
    const std::lock_guard lock{mutex_};
    view_ = view;
    return view;
}

void LiveChannel::stop_view() {
    const std::lock_guard command{command_mutex_};
    std::shared_ptr<LiveView> view;
    std::shared_ptr<Reception> reception;
    {
        const std::lock_guard lock{mutex_};
        view = std::exchange(view_, nullptr);
        reception = reception_;
    }
    if (view && reception) {
        reception->unsubscribe(Reception::Subscriber::view);
    }
    reception.reset();
    auto recorder = view ? take_recorder() : nullptr;
    end_reception_without_use();
    ending_.add(std::move(recorder));
}

std::shared_ptr<LiveView> LiveChannel::view() const {
    const std::lock_guard lock{mutex_};
    return view_;
}

bool LiveChannel::start_recording() {
    const std::lock_guard command{command_mutex_};
    std::optional<RecorderSetup> setup;
    std::shared_ptr<Reception> reception;
    {
        const std::lock_guard lock{mutex_};
        setup = recorder_setup_;
        reception = reception_;
        if (recorder_ && recorder_->is_running()) {
            return true;
        }
    }
    if (!setup) {
        log_incident("record", "start", "there is no place to record to, nothing started");
        return false;
    }
    if (!reception) {
        const auto streaming = this->streaming();
        reception = streaming ? open_reception(*streaming) : nullptr;
        if (!reception) {
            return false;
        }
        const std::lock_guard lock{mutex_};
        reception_ = reception;
    }
    std::shared_ptr<Recorder> recorder;
    try {
        recorder = std::make_shared<Recorder>(*setup, time_, messages_, [] {});
    } catch (const RecordingError& error) {
        messages_.post(MessageBoard::Severity::error, "record", "start",
                       "Nothing is recorded: " + std::string{error.what()});
        reception.reset();
        end_reception_without_use();
        return false;
    }
    attach_recorder(recorder);
    {
        const std::lock_guard lock{mutex_};
        recorder_.swap(recorder);
    }
    ending_.add(std::move(recorder));
    return true;
}

void LiveChannel::attach_recorder(const std::shared_ptr<Recorder>& recorder) {
    std::shared_ptr<Reception> reception;
    {
        const std::lock_guard lock{mutex_};
        reception = reception_;
    }
    if (recorder && reception) {
        reception->subscribe(
            Reception::Subscriber::recording, [recorder](const SharedBlock& block) { recorder->feed(block); },
            Reception::From::last_access_point);
    }
}

void LiveChannel::stop_recording() {
    const std::lock_guard command{command_mutex_};
    auto recorder = take_recorder();
    end_reception_without_use();
    ending_.add(std::move(recorder));
}

/// It gets nothing more.
std::shared_ptr<Recorder> LiveChannel::take_recorder() {
    std::shared_ptr<Recorder> recorder;
    std::shared_ptr<Reception> reception;
    {
        const std::lock_guard lock{mutex_};
        recorder = std::exchange(recorder_, nullptr);
        reception = reception_;
    }
    if (recorder && reception) {
        reception->unsubscribe(Reception::Subscriber::recording);
    }
    return recorder;
}

void LiveChannel::end_reception_without_use() {
    std::shared_ptr<Reception> unused;
    const std::lock_guard lock{mutex_};
    if (!view_ && !recorder_) {
        unused = std::exchange(reception_, nullptr);
    }
}

void LiveChannel::mark_recording() {
    std::shared_ptr<Recorder> recorder;
    {
        const std::lock_guard lock{mutex_};
        recorder = recorder_;
    }
    if (recorder) {
        recorder->mark();
    }
}

std::optional<RecordingFacts> LiveChannel::recording() const {
    const std::lock_guard lock{mutex_};
    return recorder_ && recorder_->is_running() ? std::optional{recorder_->facts()} : std::nullopt;
}

std::optional<LiveReport> LiveChannel::report(bool reset) {
    std::shared_ptr<LiveView> view;
    std::shared_ptr<Reception> reception;
    {
        const std::lock_guard lock{mutex_};
        view = view_;
        reception = reception_;
    }
    if (!view || !reception) {
        return std::nullopt;
    }
    if (reset) {
        view->reset_counters();
    }
    return LiveReport{view->report(), reception->report()};
}

} // namespace velmora
