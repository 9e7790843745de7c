#include "ts/table_packets.h"

#include <algorithm>
#include <span>

namespace velmora {

namespace {

constexpr std::uint8_t pat_table_id = 0x00;
constexpr std::uint8_t pmt_table_id = 0x02;
constexpr std::size_t smallest_section = 12; ///< a table's header and checksum, bytes
constexpr std::size_t header_size = 4;
constexpr std::uint8_t stuffing = 0xFF;

/// Appends packets that carry the section.
/// @return their number
unsigned append_packets(std::uint16_t pid, std::span<const std::uint8_t> section,
                        std::vector<std::uint8_t>& packets) {
    constexpr std::uint8_t payload_only = 0x10;
    unsigned count = 0;
    while (!section.empty()) {
        const std::size_t end = packets.size() + ts_packet_size;
        const bool is_first = count == 0;
        packets.insert(packets.end(),
                       {ts_sync_byte, static_cast<std::uint8_t>((is_first ? 0x40U : 0U) | pid >> 8U),
                        static_cast<std::uint8_t>(pid), payload_only});
        if (is_first) {
            packets.push_back(0); // pointer_field
        }
        const auto part = section.first(std::min(section.size(), end - packets.size()));
        packets.insert(packets.end(), part.begin(), part.end());
        packets.resize(end, stuffing);
        section = section.subspan(part.size());
        ++count;
    }
    return count;
}

} // namespace

void TablePackets::feed(const TsPacket& packet) {
    tables_.feed(packet);
    if (!tables_.carries_tables(packet.pid)) {
        return;
    }
    Carrier& carrier = by_pid_[packet.pid];
    carrier.counter = packet.continuity_counter;
    carrier.assembler.feed(packet, [&](std::span<const std::uint8_t> section) {
        const bool is_table = section[0] == pat_table_id || section[0] == pmt_table_id;
        if (is_table && section.size() >= smallest_section) {
            // Of PATs the latest counts, of PMTs the latest of each programme.
            const auto extension =
                static_cast<std::uint16_t>(section[0] == pmt_table_id ? section[3] << 8U | section[4] : 0U);
            carrier.sections[{section[0], extension}].assign(section.begin(), section.end());
        }
    });
}

std::vector<std::uint8_t> TablePackets::bytes() const {
    std::vector<std::uint8_t> all;
    for (const auto& [pid, carrier] : by_pid_) {
        if (!tables_.carries_tables(pid)) {
            continue;
        }
        const std::size_t begin = all.size();
        unsigned count = 0;
        for (const auto& [name, section] : carrier.sections) {
            count += append_packets(pid, section, all);
        }
        unsigned counter = carrier.counter + 1U - count;
        for (std::size_t at = begin; at < all.size(); at += ts_packet_size) {
            all[at + header_size - 1] |= static_cast<std::uint8_t>(counter++ & 0x0FU);
        }
    }
    return all;
}

} // namespace velmora
