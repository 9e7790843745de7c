#include "decode/sound_recogniser.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace velmora {

namespace {

using Bytes = std::span<const std::uint8_t>;

/// So many frames of one kind in a row are no accident.
constexpr int enough_frames = 3;
/// What is not recognised by then is what was announced.
constexpr int most_payloads = 16;
constexpr std::size_t most_bytes = std::size_t{64} << 10U;
constexpr std::size_t longest_header = 7;

struct Frame {
    AVCodecID codec{AV_CODEC_ID_NONE};
    std::size_t size{0};   ///< bytes up to the next frame
    unsigned signature{0}; ///< what frames of one stream have in common
};

/// ISO/IEC 11172-3, 2.4.1.3 and ISO/IEC 13818-3, 2.4.2.3.
std::optional<Frame> read_mpeg_audio(Bytes bytes) {
    constexpr std::array<std::array<unsigned, 15>, 5> kbit_per_s{
        {{0, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448},
         {0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384},
         {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320},
         {0, 32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256},
         {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160}}};
    constexpr std::array<unsigned, 3> rates{44100, 48000, 32000};
    const unsigned version = (bytes[1] >> 3U) & 0x03U; // 3: 1, 2: 2, 0: 2.5
    const unsigned layer = 4 - ((bytes[1] >> 1U) & 0x03U);
    const unsigned bit_rate = bytes[2] >> 4U;
    const unsigned rate = (bytes[2] >> 2U) & 0x03U;
    if (bytes[0] != 0xFF || (bytes[1] & 0xE0U) != 0xE0U || version == 1 || layer == 4 || bit_rate == 0 ||
        bit_rate == 15 || rate == 3) {
        return std::nullopt;
    }
    const bool is_low = version != 3;
    const std::size_t table = is_low ? (layer == 1 ? 3U : 4U) : layer - 1;
    const unsigned bits = kbit_per_s.at(table).at(bit_rate) * 1000;
    const unsigned samples_per_second = rates.at(rate) >> (version == 3 ? 0U : version == 2 ? 1U : 2U);
    const unsigned padding = (bytes[2] >> 1U) & 0x01U;
    const unsigned slots = layer == 1 ? 12U : layer == 3 && is_low ? 72U : 144U;
    const unsigned size = slots * bits / samples_per_second + padding;
    return Frame{AV_CODEC_ID_MP3, layer == 1 ? std::size_t{4} * size : size,
                 version << 4U | layer << 2U | rate};
}

/// ISO/IEC 13818-7, 6.2.
std::optional<Frame> read_adts(Bytes bytes) {
    const unsigned rate = (bytes[2] >> 2U) & 0x0FU;
    const auto size = static_cast<std::size_t>((bytes[3] & 0x03U) << 11U | bytes[4] << 3U | bytes[5] >> 5U);
    if (bytes[0] != 0xFF || (bytes[1] & 0xF6U) != 0xF0U || rate > 12 || size < longest_header) {
        return std::nullopt;
    }
    return Frame{AV_CODEC_ID_AAC, size, (bytes[1] & 0x08U) << 8U | (bytes[2] & 0xFDU) << 2U | bytes[3] >> 6U};
}

/// ISO/IEC 14496-3, 1.7.2.
std::optional<Frame> read_loas(Bytes bytes) {
    const auto size = static_cast<std::size_t>((bytes[1] & 0x1FU) << 8U | bytes[2]);
    if (bytes[0] != 0x56 || (bytes[1] & 0xE0U) != 0xE0U || size == 0) {
        return std::nullopt;
    }
    return Frame{AV_CODEC_ID_AAC_LATM, size + 3, 0};
}

/// ETSI TS 102 366, 4.4.1 and E.1.3.1.
std::optional<Frame> read_ac3(Bytes bytes) {
    constexpr std::array<unsigned, 19> kbit_per_s{32,  40,  48,  56,  64,  80,  96,  112, 128, 160,
                                                  192, 224, 256, 320, 384, 448, 512, 576, 640};
    if (bytes[0] != 0x0B || bytes[1] != 0x77) {
        return std::nullopt;
    }
    const unsigned identification = bytes[5] >> 3U;
    const unsigned rate = bytes[4] >> 6U;
    if (identification > 16) {
        return std::nullopt;
    }
    if (identification > 10) {
        return Frame{AV_CODEC_ID_EAC3, (((bytes[2] & 0x07U) << 8U | bytes[3]) + std::size_t{1}) * 2, rate};
    }
    const unsigned code = bytes[4] & 0x3FU;
    if (rate == 3 || code / 2 >= kbit_per_s.size()) {
        return std::nullopt;
    }
    const unsigned bits = kbit_per_s.at(code / 2);
    const unsigned words = rate == 0 ? 2 * bits : rate == 1 ? 320 * bits / 147 + (code & 1U) : 3 * bits;
    return Frame{AV_CODEC_ID_AC3, std::size_t{2} * words, rate};
}

std::optional<Frame> read_frame(Bytes bytes) {
    if (bytes.size() < longest_header) {
        return std::nullopt;
    }
    switch (bytes[0]) {
    case 0xFF: {
        const auto mpeg = read_mpeg_audio(bytes);
        return mpeg ? mpeg : read_adts(bytes);
    }
    case 0x56:
        return read_loas(bytes);
    case 0x0B:
        return read_ac3(bytes);
    default:
        return std::nullopt;
    }
}

/// Frames of one kind, each behind the other.
struct Row {
    AVCodecID codec{AV_CODEC_ID_NONE};
    int frames{0};
    bool is_broken{false}; ///< what stands behind the last one is none
};

Row read_row(Bytes bytes) {
    const auto first = read_frame(bytes);
    if (!first) {
        return {};
    }
    Row row{first->codec, 1, false};
    for (std::size_t at = first->size; row.frames < enough_frames && at + longest_header <= bytes.size();) {
        const auto next = read_frame(bytes.subspan(at));
        if (!next || next->codec != first->codec || next->signature != first->signature) {
            row.is_broken = true;
            break;
        }
        ++row.frames;
        at += next->size;
    }
    return row;
}

bool is_told_by_headers(AVCodecID codec) {
    return codec == AV_CODEC_ID_MP3 || codec == AV_CODEC_ID_AAC || codec == AV_CODEC_ID_AAC_LATM ||
           codec == AV_CODEC_ID_AC3 || codec == AV_CODEC_ID_EAC3;
}

/// The headers of all layers are read alike.
AVCodecID kind_of(AVCodecID codec) {
    return codec == AV_CODEC_ID_MP1 || codec == AV_CODEC_ID_MP2 ? AV_CODEC_ID_MP3 : codec;
}

} // namespace

std::optional<AVCodecID> SoundRecogniser::look(std::span<const std::uint8_t> payload) {
    const AVCodecID expected = kind_of(announced_);
    if (!is_told_by_headers(expected)) {
        return announced_;
    }
    if (const Row row = read_row(payload); bytes_.empty() && row.codec == expected && !row.is_broken) {
        return announced_;
    }
    bytes_.insert(bytes_.end(), payload.begin(), payload.end());
    for (std::size_t at = 0; at + longest_header <= bytes_.size(); ++at) {
        const Row row = read_row(std::span{bytes_}.subspan(at));
        if (row.frames >= enough_frames) {
            return row.codec == expected ? announced_ : row.codec;
        }
    }
    const bool is_given_up = ++payloads_ >= most_payloads || bytes_.size() >= most_bytes;
    return is_given_up ? std::optional{announced_} : std::nullopt;
}

} // namespace velmora
