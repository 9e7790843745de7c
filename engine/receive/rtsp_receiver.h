// Receives from an RTSP server and makes a transport stream of it.
#pragma once

#include "receive/receiver.h"
#include "receive/remux_clock.h"
#include "receive/rtsp_address.h"
#include "receive/rtsp_connection.h"

#include <atomic>
#include <memory>
#include <mutex>

namespace velmora {

/// Connects again and again, less and less often while it is in vain. Where the chosen transport brings
/// nothing the other one is tried.
class RtspReceiver final : public Receiver {
public:
    RtspReceiver(const ReceiverSetup& setup, TimeSource& time, BlockSink sink);

    ReceptionFacts facts() const override;
    std::string trouble() const override;

private:
    /// How a connection went.
    enum class Outcome {
        streamed,         ///< it brought packets, and ended
        transport_failed, ///< the other transport may bring some
        failed,
    };

    void run(const std::stop_token& stop);
    Outcome connect(RtspTransport transport, const std::stop_token& stop);
    Outcome stream(RtspConnection& connection, const std::stop_token& stop);
    void hand_on(std::vector<std::uint8_t> packets, SteadyTime now);
    void report(std::string_view kind, std::string_view what);

    TimeSource& time_;
    const std::unique_ptr<WakeSignal> never_{time_.make_signal()};
    const RtspAddress address_;
    const RtspTransport chosen_;
    BlockSink sink_;
    const SteadyTime begin_{time_.now()};
    unsigned runs_{0}; ///< of the transport stream
    std::atomic<std::uint32_t> sender_{0};
    std::atomic<std::uint64_t> bytes_{0};
    std::atomic<std::uint64_t> damaged_{0};
    mutable std::mutex trouble_mutex_;
    std::string trouble_; ///< since the last packet; protected by trouble_mutex_
    Worker thread_;
};

} // namespace velmora
