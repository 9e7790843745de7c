// Builds transport packets, sections and PES packets for tests.
#pragma once

#include "ts/psi_section.h"
#include "ts/ts_packet.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <initializer_list>
#include <vector>

namespace velmora::test {

using Bytes = std::vector<std::uint8_t>;

/// A packet with the given payload, filled up by an adaptation field.
inline Bytes packet(std::uint16_t pid, unsigned counter, bool unit_start, const Bytes& payload) {
    Bytes bytes(ts_packet_size, 0xFF);
    bytes[0] = ts_sync_byte;
    bytes[1] = static_cast<std::uint8_t>((unit_start ? 0x40U : 0U) | (pid >> 8U));
    bytes[2] = static_cast<std::uint8_t>(pid & 0xFFU);
    const std::size_t room = ts_packet_size - 4;
    const std::size_t size = std::min(payload.size(), room);
    if (size == room) {
        bytes[3] = static_cast<std::uint8_t>(0x10U | (counter & 0x0FU));
    } else {
        bytes[3] = static_cast<std::uint8_t>(0x30U | (counter & 0x0FU));
        bytes[4] = static_cast<std::uint8_t>(room - size - 1);
        if (bytes[4] > 0) {
            bytes[5] = 0;
        }
    }
    std::copy_n(payload.begin(), size, bytes.end() - static_cast<std::ptrdiff_t>(size));
    return bytes;
}

inline TsPacket parsed(const Bytes& bytes, std::uint64_t offset = 0) {
    return parse_ts_packet(TsPacketBytes{bytes}, offset).value();
}

/// A section with the given table_id and bytes behind section_length, its CRC appended.
inline Bytes section(std::uint8_t table_id, const Bytes& body) {
    const std::size_t length = body.size() + 4;
    Bytes bytes{table_id, static_cast<std::uint8_t>(0xB0U | (length >> 8U)),
                static_cast<std::uint8_t>(length & 0xFFU)};
    bytes.insert(bytes.end(), body.begin(), body.end());
    const std::uint32_t crc = mpeg_crc32(bytes);
    for (const unsigned shift : {24U, 16U, 8U, 0U}) {
        bytes.push_back(static_cast<std::uint8_t>(crc >> shift));
    }
    return bytes;
}

/// Sections travel behind a pointer_field.
inline Bytes with_pointer(const Bytes& bytes, std::uint8_t pointer = 0) {
    Bytes payload(std::size_t{1} + pointer, 0xFF);
    payload[0] = pointer;
    payload.insert(payload.end(), bytes.begin(), bytes.end());
    return payload;
}

struct PatEntry {
    std::uint16_t number;
    std::uint16_t pmt_pid;
};

inline Bytes pat(std::initializer_list<PatEntry> entries, bool current = true) {
    Bytes body{0, 1, static_cast<std::uint8_t>(current ? 0xC1 : 0xC0), 0, 0};
    for (const PatEntry& entry : entries) {
        body.insert(body.end(), {static_cast<std::uint8_t>(entry.number >> 8U),
                                 static_cast<std::uint8_t>(entry.number & 0xFFU),
                                 static_cast<std::uint8_t>(0xE0U | (entry.pmt_pid >> 8U)),
                                 static_cast<std::uint8_t>(entry.pmt_pid & 0xFFU)});
    }
    return section(0x00, body);
}

struct PmtEntry {
    std::uint8_t stream_type;
    std::uint16_t pid;
    Bytes descriptors{};
};

inline Bytes pmt(std::uint16_t number, std::initializer_list<PmtEntry> entries) {
    Bytes body{static_cast<std::uint8_t>(number >> 8U),
               static_cast<std::uint8_t>(number & 0xFFU),
               0xC1,
               0,
               0,
               0xE1,
               0x00,
               0xF0,
               0x00};
    for (const PmtEntry& entry : entries) {
        body.insert(body.end(), {entry.stream_type, static_cast<std::uint8_t>(0xE0U | (entry.pid >> 8U)),
                                 static_cast<std::uint8_t>(entry.pid & 0xFFU), 0xF0,
                                 static_cast<std::uint8_t>(entry.descriptors.size())});
        body.insert(body.end(), entry.descriptors.begin(), entry.descriptors.end());
    }
    return section(0x02, body);
}

/// A PES packet of video with time stamps; dts is left out when it equals pts.
inline Bytes pes(std::int64_t pts, std::int64_t dts, const Bytes& payload, bool bounded = false) {
    const auto stamp = [](unsigned prefix, std::int64_t value) {
        const auto ticks = static_cast<std::uint64_t>(value);
        return Bytes{
            static_cast<std::uint8_t>((prefix << 4U) | ((ticks >> 29U) & 0x0EU) | 1U),
            static_cast<std::uint8_t>(ticks >> 22U), static_cast<std::uint8_t>(((ticks >> 14U) & 0xFEU) | 1U),
            static_cast<std::uint8_t>(ticks >> 7U), static_cast<std::uint8_t>(((ticks << 1U) & 0xFEU) | 1U)};
    };
    const bool both = dts != pts;
    Bytes bytes{0,
                0,
                1,
                0xE0,
                0,
                0,
                0x80,
                static_cast<std::uint8_t>(both ? 0xC0 : 0x80),
                static_cast<std::uint8_t>(both ? 10 : 5)};
    for (const std::uint8_t byte : stamp(both ? 3 : 2, pts)) {
        bytes.push_back(byte);
    }
    if (both) {
        for (const std::uint8_t byte : stamp(1, dts)) {
            bytes.push_back(byte);
        }
    }
    bytes.insert(bytes.end(), payload.begin(), payload.end());
    if (bounded) {
        const std::size_t size = bytes.size() - 6;
        bytes[4] = static_cast<std::uint8_t>(size >> 8U);
        bytes[5] = static_cast<std::uint8_t>(size & 0xFFU);
    }
    return bytes;
}

} // namespace velmora::test
