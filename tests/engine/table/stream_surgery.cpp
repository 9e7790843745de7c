#include "stream_surgery.h"

#include "packet_edit.h"
#include "support/mpeg_crc.h"

#include <algorithm>
#include <array>
#include <optional>
#include <span>
#include <stdexcept>

namespace {

using namespace packet_edit;

constexpr std::uint8_t stuffing = 0xFF;
constexpr unsigned clock_pid = 0x1F0;
constexpr unsigned video_pid = 0x100;

/// In units of 1/90000 s.
std::uint64_t clock_of(Packet packet) {
    std::uint64_t base = 0;
    for (std::size_t i = 0; i < 5; ++i) {
        base = base << 8U | packet[clock_at + i];
    }
    return base >> 7U;
}

/// Takes `count` bytes out of the payload and makes up for them with stuffing in front of it.
void shorten_payload(Packet packet, std::size_t from, std::size_t count) {
    const std::size_t payload = payload_start(packet);
    std::copy_backward(packet.begin() + static_cast<std::ptrdiff_t>(payload),
                       packet.begin() + static_cast<std::ptrdiff_t>(from),
                       packet.begin() + static_cast<std::ptrdiff_t>(from + count));
    const auto room = packet.subspan(payload, count);
    std::ranges::fill(room, stuffing);
    if (has_adaptation(packet)) {
        if (packet[4] == 0) {
            room[0] = 0; // its flags
        }
        packet[4] = static_cast<std::uint8_t>(packet[4] + count);
    } else {
        packet[3] |= 0x20U;
        room[0] = static_cast<std::uint8_t>(count - 1);
        room[1] = 0;
    }
}

/// Tells the clock's new place where the packet carries the programme map.
void move_clock_in_map(Packet packet) {
    if (const std::size_t map = map_at(packet); map != 0) {
        packet[map + 8] = 0xE0U | clock_pid >> 8U;
        packet[map + 9] = clock_pid & 0xFFU;
        put_mpeg_crc(section_at(packet, map));
    }
}

} // namespace

Bytes without_delimiters(const Bytes& stream) {
    constexpr std::array<std::uint8_t, 5> delimiter{0, 0, 0, 1, 9};
    constexpr std::size_t delimiter_size = delimiter.size() + 1;
    return edited(stream, [&](Packet packet) {
        const std::size_t unit = payload_start(packet);
        if (begins_unit(packet) && unit + 9 < packet_size && packet[unit + 2] == 1 &&
            packet[unit + 3] == 0xE0) {
            const std::size_t pictures = unit + 9U + packet[unit + 8];
            if (pictures + delimiter_size <= packet_size &&
                std::ranges::equal(packet.subspan(pictures, delimiter.size()), delimiter)) {
                shorten_payload(packet, pictures, delimiter_size);
            }
        }
        return Bytes{};
    });
}

Bytes with_clock_apart(const Bytes& stream) {
    return edited(stream, [](Packet packet) {
        move_clock_in_map(packet);
        if (!has_clock(packet)) {
            return Bytes{};
        }
        Bytes apart(packet_size, stuffing);
        const std::array<std::uint8_t, 6> header{
            0x47, clock_pid >> 8U, clock_pid & 0xFFU, 0x20, packet_size - header_size - 1, 0x10};
        std::ranges::copy(header, apart.begin());
        std::ranges::copy(packet.subspan(clock_at, clock_size), apart.begin() + clock_at);
        remove_clock(packet);
        return apart;
    });
}

Bytes with_rare_clock(const Bytes& stream, std::chrono::seconds apart) {
    const auto ticks_apart = static_cast<std::uint64_t>(apart.count()) * 90000;
    std::optional<std::uint64_t> last;
    return edited(stream, [&](Packet packet) {
        if (has_clock(packet)) {
            if (last && clock_of(packet) - *last < ticks_apart) {
                remove_clock(packet);
            } else {
                last = clock_of(packet);
            }
        }
        return Bytes{};
    });
}

Bytes with_stream_type(const Bytes& stream, unsigned pid, unsigned type) {
    return edited(stream, [&](Packet packet) {
        const std::size_t map = map_at(packet);
        if (map == 0) {
            return Bytes{};
        }
        const auto section = section_at(packet, map);
        constexpr std::size_t entries_at =
            12; // behind the descriptors of the programme, of which there are none
        constexpr std::size_t checksum_size = 4;
        for (std::size_t at = entries_at; at + 5 <= section.size() - checksum_size;
             at += 5U + ((section[at + 3] & 0x0FU) << 8U | section[at + 4])) {
            if (((section[at + 1] & 0x1FU) << 8U | section[at + 2]) == pid) {
                section[at] = static_cast<std::uint8_t>(type);
            }
        }
        put_mpeg_crc(section);
        return Bytes{};
    });
}

Bytes with_absent_programmes(const Bytes& stream) {
    constexpr std::size_t entries_at = 8; // of a PAT
    constexpr std::array<std::uint8_t, 16> absent{0, 0x11, 0xF1, 0x11, 0, 0x12, 0xF1, 0x12,
                                                  0, 0x13, 0xF1, 0x13, 0, 0x14, 0xF1, 0x14};
    return edited(stream, [&](Packet packet) {
        const std::size_t table = payload_start(packet) + 1;
        if (pid_of(packet) == 0 && begins_unit(packet)) {
            const auto entries = packet.subspan(table + entries_at);
            std::copy_backward(entries.begin(), entries.end() - absent.size(), entries.end());
            std::ranges::copy(absent, entries.begin());
            packet[table + 2] = static_cast<std::uint8_t>(packet[table + 2] + absent.size());
            put_mpeg_crc(section_at(packet, table));
        }
        return Bytes{};
    });
}

Bytes with_overflowing_lengths(const Bytes& stream) {
    constexpr std::size_t length_at = 4; // of a PES packet
    constexpr std::size_t behind_length = 6;
    Bytes result = stream;
    Bytes::iterator length{};
    std::size_t size = 0;
    bool overflows = false;
    const auto put = [&] {
        if (size > 0) {
            overflows = overflows || size - behind_length > 0xFFFF;
            length[0] = static_cast<std::uint8_t>((size - behind_length) >> 8U);
            length[1] = static_cast<std::uint8_t>(size - behind_length);
        }
    };
    for (std::size_t at = 0; at + packet_size <= result.size(); at += packet_size) {
        const auto packet = std::span{result}.subspan(at).first<packet_size>();
        if (pid_of(packet) != video_pid || (packet[3] & 0x10U) == 0) {
            continue;
        }
        const std::size_t payload = payload_start(packet);
        if (begins_unit(packet)) {
            put();
            length = result.begin() + static_cast<std::ptrdiff_t>(at + payload + length_at);
            size = 0;
        }
        size += packet_size - payload;
    }
    put();
    if (!overflows) {
        throw std::logic_error{"no picture in the stream is large enough"};
    }
    return result;
}

Bytes scrambled(const Bytes& stream, unsigned pid, const Part& part) {
    double at = 0;
    return edited(stream, [&](Packet packet) {
        const double place = at / static_cast<double>(stream.size());
        at += packet_size;
        if (pid_of(packet) == pid && part(place)) {
            packet[3] |= 0x80U;
            for (std::uint8_t& byte : packet.subspan(std::min(payload_start(packet), packet_size))) {
                byte ^= 0x5AU;
            }
        }
        return Bytes{};
    });
}

Bytes without_packets(const Bytes& stream, unsigned pid, const Part& part) {
    Bytes result;
    for (std::size_t at = 0; at + packet_size <= stream.size(); at += packet_size) {
        const auto packet = std::span{stream}.subspan(at, packet_size);
        const bool is_of_pid = ((packet[1] & 0x1FU) << 8U | packet[2]) == pid;
        if (!is_of_pid || !part(static_cast<double>(at) / static_cast<double>(stream.size()))) {
            result.insert(result.end(), packet.begin(), packet.end());
        }
    }
    return result;
}

std::vector<std::size_t> picture_starts(const Bytes& stream) {
    constexpr unsigned video_pid = 0x100;
    std::vector<std::size_t> starts;
    for (std::size_t at = 0; at + packet_size <= stream.size(); at += packet_size) {
        const auto packet = std::span{stream}.subspan(at, packet_size);
        const unsigned pid = (packet[1] & 0x1FU) << 8U | packet[2];
        if (pid == video_pid && (packet[1] & 0x40U) != 0) {
            starts.push_back(at);
        }
    }
    return starts;
}
