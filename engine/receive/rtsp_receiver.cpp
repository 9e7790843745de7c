#include "receive/rtsp_receiver.h"

#include "diagnostics/log.h"
#include "receive/host_lookup.h"
#include "receive/transport_muxer.h"

#include <algorithm>
#include <exception>
#include <optional>
#include <utility>

namespace velmora {

namespace {

using namespace std::chrono_literals;

constexpr std::chrono::milliseconds first_pause = 500ms;
constexpr std::chrono::milliseconds longest_pause = 5s;
/// So long a server may send nothing.
constexpr std::chrono::milliseconds patience = 3s;

RtspTransport other(RtspTransport transport) {
    return transport == RtspTransport::udp ? RtspTransport::tcp : RtspTransport::udp;
}

} // namespace

RtspReceiver::RtspReceiver(const ReceiverSetup& setup, TimeSource& time, BlockSink sink)
    : time_{time}, address_{rtsp_address(setup)}, chosen_{setup.transport == Transport::rtsp_by_tcp
                                                              ? RtspTransport::tcp
                                                              : RtspTransport::udp},
      sink_{std::move(sink)}, thread_{time, [this](const std::stop_token& stop) { run(stop); }} {}

ReceptionFacts RtspReceiver::facts() const {
    return {.sender = sender_, .bytes = bytes_, .lost_in_network = damaged_};
}

void RtspReceiver::run(const std::stop_token& stop) {
    RtspTransport transport = chosen_;
    bool is_second_try = false;
    auto next_pause = first_pause;
    while (!stop.stop_requested()) {
        const Outcome outcome = connect(transport, stop);
        if (outcome == Outcome::streamed) {
            is_second_try = false;
            next_pause = first_pause;
        } else if (outcome == Outcome::transport_failed && !is_second_try) {
            is_second_try = true;
            transport = other(transport);
            continue;
        } else {
            is_second_try = false;
            transport = chosen_;
        }
        never_->wait(stop, time_.now() + next_pause);
        next_pause = std::min(next_pause * 2, longest_pause);
    }
}

RtspReceiver::Outcome RtspReceiver::connect(RtspTransport transport, const std::stop_token& stop) {
    try {
        const auto server = look_up_host(address_.host, [&stop] { return stop.stop_requested(); });
        if (!server) {
            report("rtsp host", "the host is not known");
            return Outcome::failed;
        }
        RtspConnection connection{address_.url, transport, time_, stop};
        sender_ = *server;
        return stream(connection, stop);
    } catch (const RtspError& error) {
        if (!stop.stop_requested()) {
            report("rtsp connection", error.what());
        }
        return error.refuses_transport() ? Outcome::transport_failed : Outcome::failed;
    } catch (const std::exception& error) {
        report("rtsp", error.what());
        return Outcome::failed;
    }
}

RtspReceiver::Outcome RtspReceiver::stream(RtspConnection& connection, const std::stop_token& stop) {
    RemuxClock clock{begin_};
    std::optional<TransportMuxer> muxer;
    const AvPacket packet = make_packet();
    while (true) {
        const RtspConnection::Reading reading = connection.read(*packet, patience);
        if (stop.stop_requested()) {
            return Outcome::streamed;
        }
        if (reading != RtspConnection::Reading::packet) {
            const bool is_silent = reading == RtspConnection::Reading::silence;
            report("rtsp end", is_silent ? "the server sends nothing" : "the server ended the connection");
            return muxer ? Outcome::streamed : (is_silent ? Outcome::transport_failed : Outcome::failed);
        }
        if (!muxer || !muxer->knows(*packet)) {
            muxer.emplace(connection.format(), runs_++);
        }
        const SteadyTime now = time_.now();
        const std::uint64_t damaged_before = muxer->damaged();
        muxer->write(*packet, clock, now);
        damaged_ += muxer->damaged() - damaged_before;
        av_packet_unref(packet.get());
        hand_on(muxer->take_packets(), now);
    }
}

void RtspReceiver::hand_on(std::vector<std::uint8_t> packets, SteadyTime now) {
    if (!packets.empty()) {
        {
            const std::lock_guard lock{trouble_mutex_};
            trouble_.clear();
        }
        bytes_ += packets.size();
        sink_(std::make_shared<const PacketBlock>(PacketBlock{.bytes = std::move(packets), .arrived = now}));
    }
}

/// The line for the developer is written here, the view shows the rest.
void RtspReceiver::report(std::string_view kind, std::string_view what) {
    std::string text = address_.shown_url + ": " + std::string{what};
    log_incident("live", kind, text + ", trying again");
    const std::lock_guard lock{trouble_mutex_};
    trouble_ = std::move(text);
}

std::string RtspReceiver::trouble() const {
    const std::lock_guard lock{trouble_mutex_};
    return trouble_;
}

} // namespace velmora
