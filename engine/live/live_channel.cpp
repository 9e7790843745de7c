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

constexpr std::chrono::milliseconds longest_sync_delay{10'000};
constexpr std::uint64_t bytes_per_kib = 1024;

std::string text_of(const char* text) {
    return text == nullptr ? std::string{} : std::string{text};
}

/// @return 0 for what is no port
std::uint16_t port_of(std::int32_t port) {
    const bool is_port = port > 0 && port <= std::numeric_limits<std::uint16_t>::max();
    return is_port ? static_cast<std::uint16_t>(port) : std::uint16_t{0};
}

/// What a user knows the source by.
std::string source_name(const ReceiverSetup& setup) {
    const std::string port = std::to_string(setup.port);
    switch (setup.protocol) {
    case Protocol_RTSPUDP:
    case Protocol_RTSPTCP:
        return rtsp_address(setup).shown_url;
    case Protocol_Split:
        return "UDP ports " + port + " to " + std::to_string(setup.port + ports_of_a_split_stream - 1);
    default:
        return setup.group == 0 ? "UDP port " + port : "UDP " + address_text(setup.group) + ':' + port;
    }
}

template <class Number>
std::int32_t clamped(Number number) {
    constexpr auto most = static_cast<Number>(std::numeric_limits<std::int32_t>::max());
    return static_cast<std::int32_t>(std::min(number, most));
}

} // namespace

void LiveChannel::set_streaming(const streaming_setup_t& setup) {
    Streaming streaming;
    streaming.receiver.protocol = setup.protocol;
    streaming.receiver.group = setup.multicast_addr;
    streaming.receiver.port = port_of(setup.port);
    streaming.receiver.rtsp_url = text_of(setup.rtsp_url);
    streaming.receiver.rtsp_session = text_of(setup.rtsp_sdp);
    streaming.receiver.rtsp_port = port_of(setup.rtsp_port);
    if (setup.dst_ip != 0 && port_of(setup.dst_port) != 0) {
        streaming.retransmission = Streaming::Address{setup.dst_ip, port_of(setup.dst_port)};
    }
    streaming.sync_delay = std::clamp(std::chrono::milliseconds{setup.sync_delay_ms},
                                      std::chrono::milliseconds{0}, longest_sync_delay);
    const std::lock_guard lock{mutex_};
    streaming_ = std::move(streaming);
}

void LiveChannel::set_recording(const record_setup_t& setup) {
    RecorderSetup recording;
    recording.latin1_directory = {setup.directory_path,
                                  ::strnlen(setup.directory_path, sizeof setup.directory_path)};
    if (setup.file_name != nullptr && *setup.file_name != '\0') {
        recording.latin1_name = setup.file_name;
    }
    recording.limit = std::chrono::seconds{std::max(setup.time_seconds, 0)};
    recording.cycle = std::chrono::seconds{setup.is_cyclic != 0 ? std::max(setup.cyclic_time_sec, 0) : 0};
    recording.writes_index = setup.is_trick_mode != 0;
    const std::lock_guard lock{mutex_};
    recording_ = std::move(recording);
}

/// @return nothing, and a message, when nothing can be received
std::shared_ptr<Reception> LiveChannel::open_reception(const Streaming& streaming) {
    try {
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
std::optional<LiveChannel::Streaming> LiveChannel::streaming() const {
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
        setup = recording_;
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

void LiveChannel::report(velmora_info_t& info) {
    const std::lock_guard lock{mutex_};
    info.action_bit |= view_ ? 1 << STREAMING_BIT : 0;
    if (!recorder_ || !recorder_->is_running()) {
        return;
    }
    info.action_bit |= 1 << RECORD_BIT;
    const RecordingFacts facts = recorder_->facts();
    // The contract's pointer is not const; nobody writes through it.
    info.record_info.file_name = const_cast<char*>( // NOLINT(cppcoreguidelines-pro-type-const-cast)
        file_names_.insert(facts.path).first->c_str());
    info.record_info.kb_size = clamped(facts.bytes / bytes_per_kib);
    info.record_info.sec_size = clamped(facts.length.count());
}

void LiveChannel::report_stream(velmora_info_t& info, bool reset) {
    std::shared_ptr<LiveView> view;
    std::shared_ptr<Reception> reception;
    {
        const std::lock_guard lock{mutex_};
        view = view_;
        reception = reception_;
    }
    if (view && reception) {
        if (reset) {
            view->reset_counters();
        }
        view->report(info);
        reception->report(info);
    }
}

} // namespace velmora
