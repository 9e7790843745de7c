#include "ts/pes.h"

#include <algorithm>
#include <utility>

namespace velmora {

namespace {

constexpr std::size_t fixed_header_size = 6;    // start code, stream_id, PES_packet_length
constexpr std::size_t optional_header_size = 3; // flags and PES_header_data_length
constexpr std::size_t timestamp_size = 5;

bool has_optional_header(std::uint8_t stream_id) {
    switch (stream_id) {
    case 0xBC: // program_stream_map
    case 0xBE: // padding_stream
    case 0xBF: // private_stream_2
    case 0xF0: // ECM
    case 0xF1: // EMM
    case 0xF2: // DSMCC
    case 0xF8: // ITU-T H.222.1 type E
    case 0xFF: // program_stream_directory
        return false;
    default:
        return true;
    }
}

StreamTime read_timestamp(std::span<const std::uint8_t> bytes) {
    return StreamTime{(static_cast<std::int64_t>((bytes[0] >> 1U) & 0x07U) << 30U) |
                      (static_cast<std::int64_t>(bytes[1]) << 22U) |
                      (static_cast<std::int64_t>(bytes[2] >> 1U) << 15U) |
                      (static_cast<std::int64_t>(bytes[3]) << 7U) | (bytes[4] >> 1U)};
}

} // namespace

std::optional<PesHeader> parse_pes_header(std::span<const std::uint8_t> bytes) {
    if (bytes.size() < fixed_header_size || bytes[0] != 0 || bytes[1] != 0 || bytes[2] != 1) {
        return std::nullopt;
    }
    PesHeader header;
    header.stream_id = bytes[3];
    header.declared_size = static_cast<std::size_t>((bytes[4] << 8U) | bytes[5]);
    header.size = fixed_header_size;
    if (!has_optional_header(header.stream_id)) {
        return header;
    }
    if (bytes.size() < fixed_header_size + optional_header_size || (bytes[6] & 0xC0U) != 0x80U) {
        return std::nullopt;
    }
    const std::size_t data_size = bytes[8];
    header.size = fixed_header_size + optional_header_size + data_size;
    if (bytes.size() < header.size) {
        return std::nullopt;
    }
    const unsigned timestamps = bytes[7] >> 6U;
    const auto data = bytes.subspan(fixed_header_size + optional_header_size, data_size);
    if ((timestamps & 0x02U) != 0 && data_size >= timestamp_size) {
        header.pts = read_timestamp(data);
        header.dts = header.pts;
        if (timestamps == 3 && data_size >= 2 * timestamp_size) {
            header.dts = read_timestamp(data.subspan(timestamp_size));
        }
    }
    return header;
}

std::optional<PesPacket> PesAssembler::feed(const TsPacket& packet, bool continuity_broken) {
    broken_ = broken_ || continuity_broken;
    if (!packet.payload_unit_start) {
        return go_on(packet, continuity_broken);
    }
    auto finished = take();
    current_.emplace();
    current_->pid = packet.pid;
    current_->offset = packet.offset;
    current_->discontinuity = std::exchange(broken_, false);
    current_->bytes.assign(packet.payload.begin(), packet.payload.end());
    return finished ? std::move(finished) : take_if_complete(packet);
}

std::optional<PesPacket> PesAssembler::go_on(const TsPacket& packet, bool continuity_broken) {
    if (!current_) {
        note_end_missed(continuity_broken);
        return std::nullopt;
    }
    auto& bytes = current_->bytes;
    const std::size_t room = max_size - std::min(max_size, bytes.size());
    const auto part = packet.payload.first(std::min(room, packet.payload.size()));
    bytes.insert(bytes.end(), part.begin(), part.end());
    current_->discontinuity = current_->discontinuity || continuity_broken;
    has_gap_ = has_gap_ || continuity_broken;
    return take_if_complete(packet);
}

/// What was handed out as complete goes on.
void PesAssembler::note_end_missed(bool continuity_broken) {
    if (continuity_broken) {
        return; // it may be another one
    }
    is_early_ = is_early_ && last_end_ != End::stuffing;
    lengths_overflow_ = lengths_overflow_ || (doubts_lengths_ && last_end_ == End::length);
    last_end_ = End::next;
}

std::optional<PesPacket> PesAssembler::take_if_complete(const TsPacket& last) {
    const auto& bytes = current_->bytes;
    if (bytes.size() < fixed_header_size) {
        return std::nullopt;
    }
    const auto declared = static_cast<std::size_t>((bytes[4] << 8U) | bytes[5]);
    if (declared != 0 && !exceeds_its_length_) {
        return take_by_length(fixed_header_size + declared, last);
    }
    if (!is_early_ || !last.stuffed) {
        return std::nullopt;
    }
    auto packet = take();
    last_end_ = End::stuffing;
    return packet;
}

std::optional<PesPacket> PesAssembler::take_by_length(std::size_t end, const TsPacket& last) {
    const auto& bytes = current_->bytes;
    if (bytes.size() < end) {
        return std::nullopt;
    }
    if (doubts_lengths_ && !has_gap_) {
        const auto behind = std::span{bytes}.subspan(end);
        const bool is_padding = std::ranges::all_of(behind, [](std::uint8_t byte) { return byte == 0xFF; });
        if (!is_padding) {
            exceeds_its_length_ = lengths_overflow_ = true;
            return take_if_complete(last);
        }
        // Where nothing is stuffed the length may end here by chance: the next packet tells.
        if (!last.stuffed && (!is_early_ || lengths_overflow_)) {
            return std::nullopt;
        }
    }
    auto packet = take();
    last_end_ = End::length;
    return packet;
}

std::optional<PesPacket> PesAssembler::take() {
    if (!current_) {
        return std::nullopt;
    }
    auto packet = std::exchange(current_, std::nullopt);
    has_gap_ = false;
    last_end_ = End::next;
    const bool is_longer = std::exchange(exceeds_its_length_, false);
    const auto header = parse_pes_header(packet->bytes);
    if (!header) {
        return std::nullopt;
    }
    packet->header = *header;
    if (header->declared_size != 0 && !is_longer) {
        // Bytes behind the declared end are stuffing.
        const std::size_t end = std::max(header->size, fixed_header_size + header->declared_size);
        packet->bytes.resize(std::min(packet->bytes.size(), end));
    }
    return packet;
}

std::optional<PesPacket> PesAssembler::finish() {
    return take();
}

std::span<const std::uint8_t> PesAssembler::payload_in_progress() const {
    const auto header = current_ ? parse_pes_header(current_->bytes) : std::nullopt;
    return header ? std::span{current_->bytes}.subspan(header->size) : std::span<const std::uint8_t>{};
}

void PesAssembler::restart() {
    current_.reset();
    has_gap_ = false;
    exceeds_its_length_ = false;
    broken_ = false;
}

} // namespace velmora
