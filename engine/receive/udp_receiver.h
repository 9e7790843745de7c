// Receives transport packets over UDP and RTP.
#pragma once

#include "receive/arrival_order.h"
#include "receive/datagram_unpacker.h"
#include "receive/receiver.h"
#include "receive/udp_socket.h"
#include "receive/wake_event.h"

#include <atomic>
#include <optional>
#include <vector>

namespace velmora {

class UdpReceiver final : public Receiver {
public:
    UdpReceiver(const ReceiverSetup& setup, TimeSource& time, BlockSink sink);

    ReceptionFacts facts() const override;

private:
    /// Sends beside the sender that is kept to.
    struct Stranger {
        Sender sender;
        SteadyTime first; ///< when it was ignored first
        bool is_reported{false};
    };
    struct Port {
        UdpSocket socket;
        SenderLock lock{};
        std::optional<Stranger> stranger{};
    };

    void run(const std::stop_token& stop);
    void wait() const;
    void round();
    /// @return there may be more
    bool read(Port& port, SteadyTime now);
    bool is_from_our_sender(Port& port, Sender sender, SteadyTime arrived);
    void hand_on(SteadyTime now);
    void note_losses();

    TimeSource& time_;
    BlockSink sink_;
    DatagramUnpacker unpacker_;
    std::optional<ArrivalOrder> order_; ///< of several ports
    std::vector<Port> ports_;
    SteadyTime membership_due_;
    std::atomic<std::uint32_t> sender_{0};
    std::atomic<std::uint64_t> bytes_{0};
    std::atomic<std::uint64_t> lost_{0};
    std::atomic<std::uint64_t> dropped_{0};
    WakeEvent stopped_;
    Worker thread_;
};

} // namespace velmora
