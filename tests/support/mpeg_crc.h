// The checksum of the tables in a transport stream.
#pragma once

#include <cstdint>
#include <span>

inline std::uint32_t mpeg_crc(std::span<const std::uint8_t> section) {
    std::uint32_t crc = 0xFFFFFFFF;
    for (const std::uint8_t byte : section) {
        crc ^= static_cast<std::uint32_t>(byte) << 24U;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc << 1U) ^ ((crc & 0x80000000U) != 0 ? 0x04C11DB7U : 0U);
        }
    }
    return crc;
}

/// Writes the checksum behind what it is of.
/// @param section ends with the four bytes of the checksum
inline void put_mpeg_crc(std::span<std::uint8_t> section) {
    const auto covered = section.first(section.size() - 4);
    const std::uint32_t crc = mpeg_crc(covered);
    for (std::size_t i = 0; i < 4; ++i) {
        section[covered.size() + i] = static_cast<std::uint8_t>(crc >> (24U - 8U * i));
    }
}
