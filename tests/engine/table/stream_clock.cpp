#include "stream_clock.h"

#include "packet_edit.h"
#include "support/mpeg_crc.h"

#include <optional>
#include <random>
#include <utility>

namespace {

using namespace packet_edit;

constexpr std::int64_t wrap = std::int64_t{1} << 33U;
constexpr std::int64_t clocks_per_tick = 300;

/// In units of 1/27000000 s.
std::int64_t clock_of(Packet packet) {
    std::int64_t base = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        base = base << 8U | packet[clock_at + i];
    }
    base = base << 1U | packet[clock_at + 4] >> 7U;
    return base * clocks_per_tick + ((packet[clock_at + 4] & 1U) << 8U | packet[clock_at + 5]);
}

void set_clock(Packet packet, std::int64_t clock) {
    const auto wrapped = (clock + wrap * clocks_per_tick) % (wrap * clocks_per_tick);
    const auto base = static_cast<std::uint64_t>(wrapped / clocks_per_tick);
    const auto extension = static_cast<std::uint64_t>(wrapped % clocks_per_tick);
    for (std::size_t i = 0; i < 4; ++i) {
        packet[clock_at + i] = static_cast<std::uint8_t>(base >> (25U - 8U * i));
    }
    packet[clock_at + 4] = static_cast<std::uint8_t>((base & 1U) << 7U | 0x7EU | extension >> 8U);
    packet[clock_at + 5] = static_cast<std::uint8_t>(extension);
}

/// @param stamp the five bytes of a time stamp
void shift_stamp(std::span<std::uint8_t> stamp, std::int64_t ticks) {
    std::int64_t value = (stamp[0] >> 1U & 0x07U) << 30U;
    value |= stamp[1] << 22U | (stamp[2] >> 1U) << 15U | stamp[3] << 7U | stamp[4] >> 1U;
    const auto shifted = static_cast<std::uint64_t>((value + ticks + wrap) % wrap);
    stamp[0] = static_cast<std::uint8_t>((stamp[0] & 0xF1U) | (shifted >> 29U & 0x0EU));
    stamp[1] = static_cast<std::uint8_t>(shifted >> 22U);
    stamp[2] = static_cast<std::uint8_t>(shifted >> 14U | 1U);
    stamp[3] = static_cast<std::uint8_t>(shifted >> 7U);
    stamp[4] = static_cast<std::uint8_t>(shifted << 1U | 1U);
}

/// Where a packet that begins a PES packet with time stamps has their flags.
std::optional<std::size_t> stamp_flags_at(Packet packet) {
    constexpr std::size_t header = 9;
    const std::size_t pes = payload_start(packet);
    const bool is_pes = begins_unit(packet) && pes + header + 10 <= packet_size && packet[pes] == 0 &&
                        packet[pes + 1] == 0 && packet[pes + 2] == 1 && packet[pes + 3] >= 0xBD;
    return is_pes && (packet[pes + 7] & 0x80U) != 0 ? std::optional{pes + 7} : std::nullopt;
}

void shift_stamps(Packet packet, std::int64_t ticks) {
    constexpr std::size_t stamp_size = 5;
    if (const auto flags = stamp_flags_at(packet)) {
        shift_stamp(packet.subspan(*flags + 2, stamp_size), ticks);
        if ((packet[*flags] & 0x40U) != 0) {
            shift_stamp(packet.subspan(*flags + 2 + stamp_size, stamp_size), ticks);
        }
    }
}

} // namespace

Bytes with_time_jump(const Bytes& stream, std::int64_t ticks, TimeKind kind, bool is_announced) {
    std::size_t left = stream.size() / packet_size / 2;
    bool has_jumped = false;
    bool announces = is_announced;
    return edited(stream, [&](Packet packet) {
        left -= left > 0 ? 1 : 0;
        // All streams jump together, where the clock does.
        has_jumped = has_jumped || (left == 0 && has_clock(packet));
        if (has_jumped && has_clock(packet)) {
            set_clock(packet, clock_of(packet) + ticks * clocks_per_tick);
            if (std::exchange(announces, false)) {
                packet[5] |= 0x80U;
            }
        }
        if (has_jumped && kind == TimeKind::clock_and_stamps) {
            shift_stamps(packet, ticks);
        }
        return Bytes{};
    });
}

Bytes without_clock(const Bytes& stream) {
    return edited(stream, [](Packet packet) {
        if (has_clock(packet)) {
            remove_clock(packet);
        }
        if (const std::size_t map = map_at(packet); map != 0) {
            packet[map + 8] = 0xFF;
            packet[map + 9] = 0xFF;
            put_mpeg_crc(section_at(packet, map));
        }
        return Bytes{};
    });
}

Bytes with_unsteady_clock(const Bytes& stream, int most) {
    std::mt19937 random{1}; // NOLINT(cert-msc51-cpp): the same stream every time
    std::uniform_int_distribution<int> offset{-most, most};
    return edited(stream, [&](Packet packet) {
        if (has_clock(packet)) {
            set_clock(packet, clock_of(packet) + offset(random));
        }
        return Bytes{};
    });
}
