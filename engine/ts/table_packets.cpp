#include "ts/table_packets.h"

#include <algorithm>

namespace velmora {

namespace {

constexpr std::size_t section_header_size = 3;

/// Payload bytes up to the end of the first section that begins here; 0 when it is not to be seen.
std::size_t size_to_section_end(std::span<const std::uint8_t> payload) {
    if (payload.empty()) {
        return 0;
    }
    const std::size_t begin = 1U + payload[0]; // pointer_field
    if (begin + section_header_size > payload.size()) {
        return 0;
    }
    const auto length = static_cast<std::size_t>(((payload[begin + 1] & 0x0FU) << 8U) | payload[begin + 2]);
    return begin + section_header_size + length;
}

} // namespace

void TablePackets::feed(const TsPacket& packet) {
    tables_.feed(packet);
    if (!tables_.carries_tables(packet.pid) || packet.payload.empty()) {
        return;
    }
    Table& table = by_pid_[packet.pid];
    if (packet.payload_unit_start) {
        table.in_progress.clear();
        table.missing = size_to_section_end(packet.payload);
    }
    if (table.missing == 0) {
        return;
    }
    table.in_progress.insert(table.in_progress.end(), packet.bytes.begin(), packet.bytes.end());
    table.missing -= std::min(table.missing, packet.payload.size());
    if (table.missing == 0) {
        table.whole.swap(table.in_progress);
    }
}

std::vector<std::uint8_t> TablePackets::bytes() const {
    std::vector<std::uint8_t> all;
    for (const auto& [pid, table] : by_pid_) {
        if (tables_.carries_tables(pid)) {
            all.insert(all.end(), table.whole.begin(), table.whole.end());
        }
    }
    return all;
}

} // namespace velmora
