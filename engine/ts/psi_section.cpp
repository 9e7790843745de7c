#include "ts/psi_section.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace velmora {

namespace {

constexpr std::size_t section_header_size = 3;
constexpr std::uint8_t stuffing_table_id = 0xFF;

constexpr std::array<std::uint32_t, 256> make_crc_table() {
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t value = 0; value < 256; ++value) {
        std::uint32_t crc = value << 24U;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & 0x80000000U) != 0 ? (crc << 1U) ^ 0x04C11DB7U : crc << 1U;
        }
        table[value] = crc;
    }
    return table;
}

constexpr auto crc_table = make_crc_table();

std::size_t section_size(std::span<const std::uint8_t> section) {
    return section_header_size + (((section[1] & 0x0FU) << 8U) | section[2]);
}

} // namespace

std::uint32_t mpeg_crc32(std::span<const std::uint8_t> bytes, std::uint32_t before) {
    std::uint32_t crc = before;
    for (const std::uint8_t byte : bytes) {
        crc = (crc << 8U) ^ crc_table[((crc >> 24U) ^ byte) & 0xFFU];
    }
    return crc;
}

void SectionAssembler::feed(const TsPacket& packet, const Sink& sink) {
    if (packet.scrambled || packet.transport_error || packet.payload.empty()) {
        return;
    }
    auto bytes = packet.payload;
    if (!packet.payload_unit_start) {
        if (!section_.empty()) {
            append(bytes, sink);
        }
        return;
    }
    const std::size_t pointer = bytes[0];
    bytes = bytes.subspan(1);
    if (pointer > bytes.size()) {
        section_.clear();
        return;
    }
    if (!section_.empty()) {
        append(bytes.first(pointer), sink);
        section_.clear();
    }
    append(bytes.subspan(pointer), sink);
}

void SectionAssembler::append(std::span<const std::uint8_t> bytes, const Sink& sink) {
    while (!bytes.empty()) {
        if (section_.empty() && bytes[0] == stuffing_table_id) {
            return;
        }
        if (section_.size() < section_header_size) {
            const std::size_t missing = std::min(section_header_size - section_.size(), bytes.size());
            section_.insert(section_.end(), bytes.begin(),
                            bytes.begin() + static_cast<std::ptrdiff_t>(missing));
            bytes = bytes.subspan(missing);
            if (section_.size() < section_header_size) {
                return;
            }
        }
        const std::size_t missing = std::min(section_size(section_) - section_.size(), bytes.size());
        section_.insert(section_.end(), bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(missing));
        bytes = bytes.subspan(missing);
        if (section_.size() < section_size(section_)) {
            return;
        }
        if (mpeg_crc32(section_) == 0) {
            sink(section_);
        }
        section_.clear();
    }
}

} // namespace velmora
