// The live half of a session: one reception, and what is made of it.
#pragma once

#include "live/live_view.h"
#include "live/reception.h"
#include "pacing/time_source.h"
#include "receive/retransmitter.h"
#include "record/ending_recordings.h"
#include "record/recorder.h"

#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace velmora {

/// What is viewed, and how.
struct StreamingSetup {
    struct Address {
        std::uint32_t ip{0}; ///< IPv4 in host byte order
        std::uint16_t port{0};
    };

    ReceiverSetup receiver;
    std::string problem; ///< why it cannot be received, the end of a sentence; else empty
    std::chrono::milliseconds sync_delay{0};
    std::optional<Address> retransmission;
};

/// What a poll reads of the stream that is viewed.
struct LiveReport {
    StreamReport stream;
    ReceptionReport reception;
};

/// Receives while it is viewed or recorded. Any thread; the operations take 100 ms at most, those that only
/// read never wait.
class LiveChannel {
public:
    /// @param time, messages outlive the channel
    LiveChannel(TimeSource& time, MessageBoard& messages, LiveView::Hooks hooks)
        : time_{time}, messages_{messages}, hooks_{std::move(hooks)} {}

    void set_streaming(StreamingSetup setup);
    void set_recording(RecorderSetup setup);

    /// Begins to receive and to view by the latest setup, instead of what was viewed; a recording without a
    /// view goes on with the new source.
    /// @return the new view, or nothing when the socket could not be opened
    std::shared_ptr<LiveView> start_view();
    /// Ends the recording of what was viewed, too.
    void stop_view();
    std::shared_ptr<LiveView> view() const;

    /// Records what is received, from the last access point on.
    /// @return false when no file could be created or nothing can be received
    bool start_recording();
    /// What waits for a slow disk is still written.
    void stop_recording();
    /// Marks the second that is being recorded.
    void mark_recording();

    /// The recording that goes on, if one does.
    std::optional<RecordingFacts> recording() const;
    /// @param reset counts from zero
    /// @return nothing when nothing is viewed
    std::optional<LiveReport> report(bool reset);

private:
    std::optional<StreamingSetup> streaming() const;
    std::shared_ptr<Reception> open_reception(const StreamingSetup& streaming);
    std::shared_ptr<Recorder> take_recorder();
    void end_reception_without_use();
    void attach_recorder(const std::shared_ptr<Recorder>& recorder);

    TimeSource& time_;
    MessageBoard& messages_;
    const LiveView::Hooks hooks_;
    EndingRecordings ending_{time_};
    std::mutex command_mutex_; ///< orders starts and stops

    mutable std::mutex mutex_; ///< held for moments only
    // Protected by mutex_:
    std::optional<StreamingSetup> streaming_; ///< of the next start
    std::optional<RecorderSetup> recorder_setup_;
    std::shared_ptr<Reception> reception_;
    std::shared_ptr<LiveView> view_;
    std::shared_ptr<Recorder> recorder_;
};

} // namespace velmora
