// A live stream on its way from the network to viewing, recording and forwarding.
#pragma once

#include "live/stream_backlog.h"
#include "media/packet_block.h"
#include "pacing/time_source.h"
#include "receive/receiver.h"
#include "tracks/arrival_meter.h"

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace velmora {

struct ReceptionReport {
    Transport transport{Transport::udp};
    std::uint32_t sender{0}; ///< IPv4 in host byte order; 0 = none yet
    std::int32_t bitrate{0}; ///< kbit/s over the last second
};

/// Hands what is received to its subscribers, on the receiver's thread. All operations may be called from any
/// other thread.
class Reception {
public:
    /// @param time outlives the reception
    /// @throws ReceptionError when nothing can be received
    Reception(const ReceiverSetup& setup, TimeSource& time);

    /// Names a subscription.
    enum class Subscriber { view, recording, retransmission };
    enum class From { now, last_access_point };

    /// Replaces the subscription of that name. With last_access_point the subscriber gets the tables and what
    /// was received since, and where no access point is known yet, what comes from the first one on.
    void subscribe(Subscriber subscriber, BlockSink sink, From from);
    /// After return the subscriber's sink is not called any more.
    void unsubscribe(Subscriber subscriber);

    /// What a poll reads of reception.
    ReceptionReport report();
    /// Why nothing comes at the moment; empty where nothing is known. Any thread, never waits.
    std::string trouble() const { return receiver_->trouble(); }

private:
    struct Subscription {
        BlockSink sink;
        bool awaits_access_point{false};
    };

    void take(const SharedBlock& block);
    void begin(Subscription& subscription);

    TimeSource& time_;
    const Transport transport_;
    std::mutex mutex_;
    // Protected by mutex_:
    StreamBacklog backlog_;
    ArrivalMeter meter_;
    std::map<Subscriber, Subscription> subscriptions_;

    std::unique_ptr<Receiver> receiver_; ///< last, so that its thread ends first
};

} // namespace velmora
