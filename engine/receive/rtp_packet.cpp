#include "receive/rtp_packet.h"

namespace velmora {

namespace {

constexpr std::size_t fixed_header_size = 12;

std::uint16_t read_16(std::span<const std::uint8_t> bytes, std::size_t at) {
    return static_cast<std::uint16_t>((bytes[at] << 8U) | bytes[at + 1]);
}

std::uint32_t read_32(std::span<const std::uint8_t> bytes, std::size_t at) {
    return (static_cast<std::uint32_t>(read_16(bytes, at)) << 16U) | read_16(bytes, at + 2);
}

bool is_rtcp(std::uint8_t type) {
    return type >= 192 && type <= 223;
}

} // namespace

std::optional<RtpPacket> parse_rtp_packet(std::span<const std::uint8_t> bytes) {
    if (bytes.size() < fixed_header_size || bytes[0] >> 6U != 2 || is_rtcp(bytes[1])) {
        return std::nullopt;
    }
    const bool has_padding = (bytes[0] & 0x20U) != 0;
    const bool has_extension = (bytes[0] & 0x10U) != 0;
    std::size_t begin = fixed_header_size + std::size_t{4} * (bytes[0] & 0x0FU);
    if (has_extension) {
        if (begin + 4 > bytes.size()) {
            return std::nullopt;
        }
        begin += 4 + std::size_t{4} * read_16(bytes, begin + 2);
    }
    const std::size_t padding = has_padding ? bytes.back() : 0;
    if (begin + padding > bytes.size()) {
        return std::nullopt;
    }
    return RtpPacket{.sequence = read_16(bytes, 2),
                     .ssrc = read_32(bytes, 8),
                     .payload = bytes.subspan(begin, bytes.size() - begin - padding)};
}

} // namespace velmora
