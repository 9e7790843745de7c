#include "ts/packet_sync.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace velmora {

namespace {

constexpr std::array<std::size_t, 3> strides{188, 192, 204};
constexpr std::size_t syncs_to_trust_a_file = 5;
constexpr std::size_t syncs_to_trust_again = 3;

bool has_syncs(std::span<const std::uint8_t> bytes, std::size_t at, std::size_t stride, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t position = at + i * stride;
        if (position >= bytes.size() || bytes[position] != ts_sync_byte) {
            return false;
        }
    }
    return true;
}

} // namespace

std::optional<PacketLayout> detect_packet_layout(std::span<const std::uint8_t> head) {
    for (std::size_t at = 0; at < head.size(); ++at) {
        if (head[at] != ts_sync_byte) {
            continue;
        }
        for (const std::size_t stride : strides) {
            if (has_syncs(head, at, stride, syncs_to_trust_a_file)) {
                return PacketLayout{stride, at};
            }
        }
    }
    return std::nullopt;
}

PacketCutter::PacketCutter(std::size_t stride, LossSink on_loss)
    : stride_{stride}, on_loss_{std::move(on_loss)} {}

void PacketCutter::restart() {
    in_sync_ = true;
    loss_began_.reset();
}

bool PacketCutter::is_packet_start(std::span<const std::uint8_t> bytes, std::size_t at, bool is_end,
                                   bool& needs_more) const {
    if (bytes[at] != ts_sync_byte) {
        return false;
    }
    if (in_sync_) {
        return true;
    }
    // A sync byte is an ordinary byte of payloads too: after a loss, demand several at the right distance.
    for (std::size_t i = 1; i < syncs_to_trust_again; ++i) {
        const std::size_t next = at + i * stride_;
        if (next >= bytes.size()) {
            needs_more = !is_end;
            return is_end;
        }
        if (bytes[next] != ts_sync_byte) {
            return false;
        }
    }
    return true;
}

void PacketCutter::end_loss(std::uint64_t offset) {
    if (loss_began_ && on_loss_) {
        on_loss_(*loss_began_, offset - *loss_began_);
    }
    loss_began_.reset();
    in_sync_ = true;
}

std::size_t PacketCutter::cut(std::span<const std::uint8_t> bytes, std::uint64_t offset, bool is_end,
                              const Sink& sink) {
    std::size_t at = 0;
    // At the end of the data the bare packet is enough, without the parity behind it.
    const std::size_t wanted = is_end ? ts_packet_size : stride_;
    while (at + wanted <= bytes.size()) {
        bool needs_more = false;
        if (is_packet_start(bytes, at, is_end, needs_more)) {
            end_loss(offset + at);
            const TsPacketBytes packet_bytes = bytes.subspan(at).first<ts_packet_size>();
            if (const auto packet = parse_ts_packet(packet_bytes, offset + at)) {
                sink(*packet);
            }
            at = std::min(at + stride_, bytes.size());
            continue;
        }
        if (needs_more) {
            return at;
        }
        if (!loss_began_) {
            loss_began_ = offset + at;
        }
        in_sync_ = false;
        const auto* const begin = bytes.data() + at + 1;
        const auto* const next =
            static_cast<const std::uint8_t*>(std::memchr(begin, ts_sync_byte, bytes.size() - at - 1));
        at = next == nullptr ? bytes.size() : static_cast<std::size_t>(next - bytes.data());
    }
    // What may be the beginning of a packet waits for the rest even at the end, should there be more some
    // day.
    return is_end && !in_sync_ ? bytes.size() : at;
}

} // namespace velmora
