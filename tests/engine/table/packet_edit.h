// Fields of transport packets of 188 bytes, for tests that change finished streams.
#pragma once

#include "scratch_files.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>

namespace packet_edit {

inline constexpr std::size_t packet_size = 188;
inline constexpr std::size_t header_size = 4;

using Packet = std::span<std::uint8_t, packet_size>;

inline unsigned pid_of(Packet packet) {
    return (packet[1] & 0x1FU) << 8U | packet[2];
}

inline bool begins_unit(Packet packet) {
    return (packet[1] & 0x40U) != 0;
}

inline bool has_adaptation(Packet packet) {
    return (packet[3] & 0x20U) != 0;
}

inline std::size_t payload_start(Packet packet) {
    return has_adaptation(packet) ? header_size + 1U + packet[4] : header_size;
}

inline bool has_clock(Packet packet) {
    return has_adaptation(packet) && packet[4] > 0 && (packet[5] & 0x10U) != 0;
}

/// Where a packet with a clock has it.
inline constexpr std::size_t clock_at = 6;
inline constexpr std::size_t clock_size = 6;

/// Puts private data where the clock was: stuffing would end a unit.
inline void remove_clock(Packet packet) {
    constexpr std::uint8_t has_private_data = 0x02;
    packet[5] = static_cast<std::uint8_t>((packet[5] & 0xEFU) | has_private_data);
    packet[clock_at] = clock_size - 1;
    std::ranges::fill(packet.subspan(clock_at + 1, clock_size - 1), std::uint8_t{0xFF});
}

/// Where the section of a packet with a programme map begins; 0 in others.
inline std::size_t map_at(Packet packet) {
    const std::size_t at = payload_start(packet) + 1;
    const bool is_map = begins_unit(packet) && at + 12 <= packet_size && packet[at - 1] == 0 &&
                        packet[at] == 0x02 && (packet[at + 1] & 0xF0U) == 0xB0U;
    return is_map ? at : 0;
}

/// A section with its length and checksum.
inline std::span<std::uint8_t> section_at(Packet packet, std::size_t at) {
    return packet.subspan(at, 3U + ((packet[at + 1] & 0x0FU) << 8U | packet[at + 2]));
}

/// Calls `edit` with a copy of each packet, which it may change; what it returns goes in front.
template <class Edit>
Bytes edited(const Bytes& stream, const Edit& edit) {
    Bytes result;
    for (std::size_t at = 0; at + packet_size <= stream.size(); at += packet_size) {
        std::array<std::uint8_t, packet_size> packet{};
        std::copy_n(stream.begin() + static_cast<std::ptrdiff_t>(at), packet_size, packet.begin());
        const Bytes in_front = edit(Packet{packet});
        result.insert(result.end(), in_front.begin(), in_front.end());
        result.insert(result.end(), packet.begin(), packet.end());
    }
    if (result == stream) {
        throw std::logic_error{"nothing to change in the stream"};
    }
    return result;
}

} // namespace packet_edit
