#include "receive/datagram_packets.h"

#include "ts/ts_packet.h"

#include <algorithm>
#include <array>

namespace velmora {

namespace {

constexpr std::size_t size_with_parity = 204;

/// How packets may lie in a datagram.
struct Alignment {
    std::size_t stride;
    std::size_t first;
};

/// Calls `on_packet` with each packet that begins with a sync byte.
template <class OnPacket>
void for_each_packet(std::span<const std::uint8_t> datagram, Alignment alignment, const OnPacket& on_packet) {
    for (std::size_t at = alignment.first; at + ts_packet_size <= datagram.size(); at += alignment.stride) {
        if (datagram[at] == ts_sync_byte) {
            on_packet(datagram.subspan(at, ts_packet_size));
        }
    }
}

} // namespace

std::size_t append_packets(std::span<const std::uint8_t> datagram, std::vector<std::uint8_t>& packets) {
    const std::array<Alignment, 4> alignments{{{ts_packet_size, datagram.size() % ts_packet_size},
                                               {size_with_parity, datagram.size() % size_with_parity},
                                               {ts_packet_size, 0},
                                               {size_with_parity, 0}}};
    Alignment best{};
    std::size_t most = 0;
    for (const Alignment alignment : alignments) {
        std::size_t count = 0;
        for_each_packet(datagram, alignment, [&count](auto) { ++count; });
        if (count > most) {
            most = count;
            best = alignment;
        }
    }
    if (most == 0) {
        return datagram.size();
    }
    for_each_packet(datagram, best, [&packets](std::span<const std::uint8_t> packet) {
        packets.insert(packets.end(), packet.begin(), packet.end());
    });
    // The last packet's parity may be missing.
    return datagram.size() - best.first - std::min(datagram.size() - best.first, most * best.stride);
}

} // namespace velmora
