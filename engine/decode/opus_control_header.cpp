#include "decode/opus_control_header.h"

#include <array>

namespace velmora {

namespace {

constexpr unsigned prefix = 0x7FE0;
constexpr unsigned prefix_mask = 0xFFE0;
constexpr unsigned start_trim_flag = 0x10;
constexpr unsigned end_trim_flag = 0x08;
constexpr unsigned extension_flag = 0x04;
constexpr unsigned trim_mask = 0x1FFF;
constexpr std::uint8_t size_goes_on = 0xFF;

/// Takes numbers off the front; says so when there were too few bytes.
class Reader {
public:
    explicit Reader(std::span<const std::uint8_t> bytes) : bytes_{bytes} {}

    unsigned byte() {
        if (at_ >= bytes_.size()) {
            complete_ = false;
            return 0;
        }
        return bytes_[at_++];
    }
    unsigned word() {
        const unsigned high = byte();
        return high << 8U | byte();
    }
    void skip(std::size_t count) { at_ += count; }

    std::size_t position() const { return at_; }
    bool complete() const { return complete_ && at_ <= bytes_.size(); }

private:
    std::span<const std::uint8_t> bytes_;
    std::size_t at_{0};
    bool complete_{true};
};

/// How channels travel in Opus streams, for each number of channels (RFC 7845, section 5.1.1.2).
struct ChannelLayout {
    std::uint8_t streams;
    std::uint8_t coupled;
    std::array<std::uint8_t, 8> map;
};

constexpr std::array<ChannelLayout, 8> layouts{{
    {1, 0, {0}},
    {1, 1, {0, 1}},
    {2, 1, {0, 2, 1}},
    {2, 2, {0, 1, 2, 3}},
    {3, 2, {0, 4, 1, 2, 3}},
    {4, 2, {0, 4, 1, 2, 3, 5}},
    {4, 3, {0, 4, 1, 2, 3, 5, 6}},
    {5, 3, {0, 6, 1, 2, 3, 4, 5, 7}},
}};

} // namespace

std::optional<OpusControlHeader> read_opus_control_header(std::span<const std::uint8_t> bytes) {
    Reader reader{bytes};
    const unsigned flags = reader.word();
    if (!reader.complete() || (flags & prefix_mask) != prefix) {
        return std::nullopt;
    }
    OpusControlHeader header;
    unsigned part = 0;
    do {
        part = reader.byte();
        header.packet_size += part;
    } while (part == size_goes_on);
    if ((flags & start_trim_flag) != 0) {
        header.trim_at_start = reader.word() & trim_mask;
    }
    if ((flags & end_trim_flag) != 0) {
        header.trim_at_end = reader.word() & trim_mask;
    }
    if ((flags & extension_flag) != 0) {
        reader.skip(reader.byte());
    }
    header.header_size = reader.position();
    if (!reader.complete() || header.packet_size > bytes.size() - header.header_size) {
        return std::nullopt;
    }
    return header;
}

std::vector<std::uint8_t> make_opus_head(int channels) {
    if (channels < 1 || channels > static_cast<int>(layouts.size())) {
        return {};
    }
    constexpr std::uint8_t version = 1;
    const auto count = static_cast<std::uint8_t>(channels);
    // Pre-skip 0, input rate 48000 Hz, gain 0: the transport stream trims by its control headers.
    std::vector<std::uint8_t> head{'O',   'p', 'u', 's',  'H',  'e', 'a', 'd', version,
                                   count, 0,   0,   0x80, 0xBB, 0,   0,   0,   0};
    if (channels <= 2) {
        head.push_back(0);
        return head;
    }
    const ChannelLayout& layout = layouts.at(static_cast<std::size_t>(channels) - 1);
    constexpr std::uint8_t surround_family = 1;
    head.insert(head.end(), {surround_family, layout.streams, layout.coupled});
    head.insert(head.end(), layout.map.begin(), layout.map.begin() + channels);
    return head;
}

} // namespace velmora
