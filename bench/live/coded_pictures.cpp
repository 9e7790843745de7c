#include "live/coded_pictures.h"

#include <algorithm>
#include <optional>

namespace {

constexpr std::size_t packet_size = 188;
constexpr double time_stamp_hz = 90'000;

using Bytes = std::span<const std::uint8_t>;

/** A packet with payload. */
struct Packet {
    unsigned pid;
    bool begins_unit;
    bool is_access_point;
    Bytes payload;
};

std::optional<Packet> parse(Bytes bytes) {
    const bool has_payload = (bytes[3] & 0x10U) != 0;
    const bool has_adaptation_field = (bytes[3] & 0x20U) != 0;
    const std::size_t header = 4 + (has_adaptation_field ? bytes[4] + 1U : 0U);
    if (!has_payload || header >= packet_size) {
        return std::nullopt;
    }
    return Packet{.pid = ((bytes[1] & 0x1FU) << 8U) | bytes[2],
                  .begins_unit = (bytes[1] & 0x40U) != 0,
                  .is_access_point = header > 5 && (bytes[5] & 0x40U) != 0,
                  .payload = bytes.subspan(header)};
}

bool begins_video(const Packet& packet) {
    const Bytes payload = packet.payload;
    return packet.begins_unit && payload.size() > 14 && payload[0] == 0 && payload[1] == 0 &&
           payload[2] == 1 && (payload[3] & 0xF0U) == 0xE0;
}

double presentation_time(Bytes pes) {
    const std::uint64_t value = (std::uint64_t{pes[9] & 0x0EU} << 29U) | (std::uint64_t{pes[10]} << 22U) |
                                (std::uint64_t{pes[11] & 0xFEU} << 14U) | (std::uint64_t{pes[12]} << 7U) |
                                (std::uint64_t{pes[13]} >> 1U);
    return static_cast<double>(value) / time_stamp_hz;
}

void number_in_order_of_showing(std::vector<CodedPicture>& pictures) {
    std::vector<CodedPicture*> shown;
    shown.reserve(pictures.size());
    for (CodedPicture& picture : pictures) {
        shown.push_back(&picture);
    }
    std::ranges::sort(shown, {}, &CodedPicture::presentation);
    for (std::size_t turn = 0; turn < shown.size(); ++turn) {
        shown[turn]->turn = turn;
    }
}

} // namespace

std::vector<CodedPicture> coded_pictures(std::span<const std::uint8_t> stream) {
    std::vector<CodedPicture> pictures;
    std::optional<unsigned> pid;
    for (std::size_t at = 0; at + packet_size <= stream.size(); at += packet_size) {
        const auto packet = parse(stream.subspan(at, packet_size));
        if (!packet || (pid && packet->pid != *pid)) {
            continue;
        }
        std::size_t pes_header = 0;
        if (begins_video(*packet)) {
            pid = packet->pid;
            pes_header = 9U + packet->payload[8];
            pictures.push_back({.begin = at,
                                .presentation = presentation_time(packet->payload),
                                .is_key = packet->is_access_point});
        }
        if (pid && !pictures.empty()) {
            pictures.back().end = at + packet_size;
            pictures.back().bytes += packet->payload.size() - std::min(pes_header, packet->payload.size());
        }
    }
    number_in_order_of_showing(pictures);
    return pictures;
}
