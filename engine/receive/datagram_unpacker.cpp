#include "receive/datagram_unpacker.h"

#include "diagnostics/log.h"
#include "receive/datagram_packets.h"
#include "ts/ts_packet.h"

#include <algorithm>
#include <string>
#include <utility>

namespace velmora {

namespace {

bool begins_with_packet(std::span<const std::uint8_t> bytes) {
    return bytes.size() >= ts_packet_size && bytes.front() == ts_sync_byte;
}

/// Stuffing may be the same all the time.
bool is_stuffing(std::span<const std::uint8_t> packets) {
    for (std::size_t at = 0; at < packets.size(); at += ts_packet_size) {
        const auto packet = parse_ts_packet(packets.subspan(at).first<ts_packet_size>(), 0);
        if (packet && packet->pid != null_packet_pid) {
            return false;
        }
    }
    return true;
}

} // namespace

DatagramUnpacker::DatagramUnpacker(Framing framing)
    : asked_for_{framing}, framing_{framing}, reorder_{[this](std::span<const std::uint8_t> payload) {
          append(payload);
      }} {}

void DatagramUnpacker::restart() {
    framing_ = asked_for_;
    last_.clear();
}

void DatagramUnpacker::feed(std::span<const std::uint8_t> datagram, SteadyTime now) {
    if (framing_ == Framing::either) {
        decide(datagram);
    }
    if (framing_ == Framing::rtp) {
        feed_rtp(datagram, now);
    } else {
        feed_packets(datagram);
    }
}

void DatagramUnpacker::decide(std::span<const std::uint8_t> datagram) {
    const auto packet = parse_rtp_packet(datagram);
    if (begins_with_packet(datagram)) {
        framing_ = Framing::transport_packets;
    } else if (packet && begins_with_packet(packet->payload)) {
        framing_ = Framing::rtp;
    }
}

void DatagramUnpacker::feed_rtp(std::span<const std::uint8_t> datagram, SteadyTime now) {
    if (const auto packet = parse_rtp_packet(datagram)) {
        reorder_.feed(*packet, now);
    } else {
        log_incident("live", "no RTP", "a datagram that is no RTP packet was dropped");
    }
}

void DatagramUnpacker::feed_packets(std::span<const std::uint8_t> bytes) {
    const std::size_t begin = packets_.size();
    append(bytes);
    if (repeats_last(begin)) {
        packets_.resize(begin);
        return;
    }
    last_.assign(packets_.begin() + static_cast<std::ptrdiff_t>(begin), packets_.end());
}

/// A network may deliver a datagram twice. One packet alone is left to who counts continuity: a stream may
/// repeat a packet itself.
bool DatagramUnpacker::repeats_last(std::size_t begin) const {
    const auto added = std::span{packets_}.subspan(begin);
    return added.size() > ts_packet_size && std::ranges::equal(added, last_) && !is_stuffing(added);
}

void DatagramUnpacker::append(std::span<const std::uint8_t> bytes) {
    const std::size_t dropped = append_packets(bytes, packets_);
    if (dropped > 0) {
        log_incident("live", "no packets",
                     std::to_string(dropped) + " of " + std::to_string(bytes.size()) +
                         " bytes of a datagram are no transport packets and were dropped");
    }
}

void DatagramUnpacker::expire(SteadyTime now) {
    reorder_.expire(now);
}

std::vector<std::uint8_t> DatagramUnpacker::take_packets() {
    return std::exchange(packets_, {});
}

} // namespace velmora
