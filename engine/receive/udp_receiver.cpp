#include "receive/udp_receiver.h"

#include "diagnostics/log.h"
#include "receive/address_text.h"

#include <algorithm>
#include <exception>
#include <poll.h>
#include <string>
#include <utility>

namespace velmora {

namespace {

using namespace std::chrono_literals;

constexpr auto membership_interval = 1s;

DatagramUnpacker::Framing framing_of(Transport transport) {
    using enum DatagramUnpacker::Framing;
    switch (transport) {
    case Transport::rtp:
        return rtp;
    case Transport::udp_or_rtp:
        return either;
    default:
        return transport_packets;
    }
}

std::string text_of(Sender sender) {
    return address_text(sender.address) + ':' + std::to_string(sender.port);
}

} // namespace

UdpReceiver::UdpReceiver(const ReceiverSetup& setup, TimeSource& time, BlockSink sink)
    : time_{time}, sink_{std::move(sink)}, unpacker_{framing_of(setup.transport)} {
    const bool is_split = setup.transport == Transport::split;
    if (is_split) {
        order_.emplace();
    }
    for (unsigned i = 0; i < (is_split ? ports_of_a_split_stream : 1U); ++i) {
        ports_.push_back({.socket = UdpSocket{setup.group, static_cast<std::uint16_t>(setup.port + i)}});
    }
    thread_ = Worker{time, [this](const std::stop_token& stop) { run(stop); }};
}

ReceptionFacts UdpReceiver::facts() const {
    return {.sender = sender_, .bytes = bytes_, .lost_in_network = lost_, .dropped_by_kernel = dropped_};
}

void UdpReceiver::run(const std::stop_token& stop) {
    const std::stop_callback wake_up{stop, [this] { stopped_.raise(); }};
    membership_due_ = time_.now() + membership_interval;
    while (!stop.stop_requested()) {
        wait();
        try {
            round();
        } catch (const std::exception& error) {
            log_incident("live", "reception", std::string{"received packets were dropped: "} + error.what());
        }
    }
}

void UdpReceiver::round() {
    const SteadyTime now = time_.now();
    const auto wall_clock = std::chrono::system_clock::now().time_since_epoch();
    for (Port& port : ports_) {
        while (read(port, now) && order_) {
        }
    }
    if (order_) {
        order_->release(wall_clock,
                        [&](std::span<const std::uint8_t> payload) { unpacker_.feed(payload, now); });
    }
    unpacker_.expire(now);
    note_losses();
    if (now >= membership_due_) {
        membership_due_ = now + membership_interval;
        std::ranges::for_each(ports_, [](Port& port) { port.socket.refresh_membership(); });
    }
    hand_on(now);
}

void UdpReceiver::wait() const {
    std::vector<pollfd> polled;
    for (const Port& port : ports_) {
        polled.push_back({.fd = port.socket.descriptor(), .events = POLLIN, .revents = 0});
    }
    polled.push_back({.fd = stopped_.descriptor(), .events = POLLIN, .revents = 0});
    SteadyTime until = std::min(membership_due_, unpacker_.deadline().value_or(SteadyTime::max()));
    if (order_ && !order_->is_empty()) {
        until = std::min(until, time_.now() + ArrivalOrder::wait / 2);
    }
    const auto time = std::chrono::ceil<std::chrono::milliseconds>(until - time_.now());
    ::poll(polled.data(), polled.size(), static_cast<int>(std::max(time, 0ms).count()));
}

bool UdpReceiver::read(Port& port, SteadyTime now) {
    const auto datagrams = port.socket.receive();
    const auto wall_clock = std::chrono::system_clock::now().time_since_epoch();
    for (const Datagram& datagram : datagrams) {
        // What waited here while this thread did not run tells nothing of the sender.
        const auto waited = datagram.stamp > 0ns ? std::max(wall_clock - datagram.stamp, 0ns) : 0ns;
        if (!is_from_our_sender(port, datagram.sender, now - waited)) {
            continue;
        }
        if (order_) {
            order_->add(datagram);
        } else {
            unpacker_.feed(datagram.payload, now);
        }
    }
    return !datagrams.empty();
}

bool UdpReceiver::is_from_our_sender(Port& port, Sender sender, SteadyTime arrived) {
    const auto previous = port.lock.current();
    auto& stranger = port.stranger;
    switch (port.lock.check(sender, arrived)) {
    case SenderLock::Verdict::stranger:
        if (!stranger || stranger->sender != sender) {
            stranger = Stranger{sender, arrived};
        }
        return false;
    case SenderLock::Verdict::took_over:
        unpacker_.restart();
        sender_ = sender.address;
        stranger.reset();
        if (previous) {
            log_incident("live", "other sender",
                         text_of(sender) + " sends instead of " + text_of(*previous) + ", which fell silent");
        }
        return true;
    case SenderLock::Verdict::current:
        // Both go on: the other one is no successor.
        if (stranger && !stranger->is_reported && arrived - stranger->first > SenderLock::longest_silence) {
            stranger->is_reported = true;
            log_incident("live", "second sender",
                         text_of(stranger->sender) + " sends to the same port and is ignored");
        }
        return true;
    }
    return true;
}

void UdpReceiver::hand_on(SteadyTime now) {
    PacketBlock block{.bytes = unpacker_.take_packets(), .arrived = now};
    if (!block.bytes.empty()) {
        bytes_ += block.bytes.size();
        sink_(std::make_shared<const PacketBlock>(std::move(block)));
    }
}

void UdpReceiver::note_losses() {
    std::uint64_t dropped = 0;
    for (const Port& port : ports_) {
        dropped += port.socket.dropped();
    }
    if (const auto before = dropped_.exchange(dropped); before != dropped) {
        log_incident("live", "kernel drops",
                     std::to_string(dropped - before) + " datagrams found no room in the receive buffer");
    }
    // What the system drops is missing in the sequence of RTP too.
    const std::uint64_t missing = unpacker_.lost();
    const std::uint64_t lost = std::max(lost_.load(), missing - std::min(missing, dropped));
    if (const auto before = lost_.exchange(lost); before != lost) {
        log_incident("live", "RTP loss", std::to_string(lost - before) + " RTP packets lost in the network");
    }
}

} // namespace velmora
