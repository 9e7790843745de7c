// Sections of program specific information (ISO/IEC 13818-1, 2.4.4).
#pragma once

#include "ts/ts_packet.h"

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace velmora {

/// CRC-32 of ISO/IEC 13818-1 Annex A; 0 over a section that includes its own CRC.
/// @param before the CRC of what stands in front of `bytes`, if anything does
std::uint32_t mpeg_crc32(std::span<const std::uint8_t> bytes, std::uint32_t before = 0xFFFFFFFFU);

/// Puts the sections of one PID together from its packets and hands on those whose CRC holds.
class SectionAssembler {
public:
    /// Receives a whole section, from table_id to the CRC.
    using Sink = std::function<void(std::span<const std::uint8_t> section)>;

    void feed(const TsPacket& packet, const Sink& sink);
    /// Drops a section in progress, before a jump in the stream.
    void restart() { section_.clear(); }

private:
    void append(std::span<const std::uint8_t> bytes, const Sink& sink);

    std::vector<std::uint8_t> section_;
};

} // namespace velmora
