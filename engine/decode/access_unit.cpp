#include "decode/access_unit.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace velmora {

namespace {

constexpr std::array<std::uint8_t, 3> start_code{0, 0, 1};

/// What may begin an access unit, by the byte behind a start code.
bool is_delimiter(AVCodecID codec, std::uint8_t byte) {
    switch (codec) {
    case AV_CODEC_ID_H264:
        return (byte & 0x1FU) == 9;
    case AV_CODEC_ID_HEVC:
        return ((byte >> 1U) & 0x3FU) == 35;
    default:
        return byte == 0; // picture_start_code
    }
}

/// How many delimiters one access unit may hold: two fields make one MPEG-2 picture.
int most_delimiters(AVCodecID codec) {
    return codec == AV_CODEC_ID_H264 || codec == AV_CODEC_ID_HEVC ? 1 : 2;
}

} // namespace

bool is_one_access_unit(AVCodecID codec, std::span<const std::uint8_t> bytes) {
    auto at = std::search(bytes.begin(), bytes.end(), start_code.begin(), start_code.end());
    const auto leading_zeros = at - bytes.begin();
    if (at == bytes.end() || leading_zeros > 1) {
        return false;
    }
    int delimiters = 0;
    while (at != bytes.end()) {
        at += start_code.size();
        if (at != bytes.end() && is_delimiter(codec, *at) && ++delimiters > most_delimiters(codec)) {
            return false;
        }
        at = std::search(at, bytes.end(), start_code.begin(), start_code.end());
    }
    return true;
}

std::optional<unsigned> first_slice_header(AVCodecID codec, std::span<const std::uint8_t> unit) {
    for (std::size_t at = 0; at + 3 < unit.size(); ++at) {
        if (unit[at] != 0 || unit[at + 1] != 0 || unit[at + 2] != 1) {
            continue;
        }
        const unsigned header = unit[at + 3];
        const unsigned type = codec == AV_CODEC_ID_H264 ? header & 0x1FU : header >> 1U & 0x3FU;
        const bool is_slice = codec == AV_CODEC_ID_H264 ? type >= 1 && type <= 5 : type < 32;
        if (is_slice) {
            return header;
        }
        at += 3;
    }
    return std::nullopt;
}

bool may_begin_next(AVCodecID codec, std::span<const std::uint8_t> unit, std::span<const std::uint8_t> part) {
    const auto at = std::search(part.begin(), part.end(), start_code.begin(), start_code.end());
    const auto behind = at - part.begin() + static_cast<std::ptrdiff_t>(start_code.size());
    const bool has_start_code = std::all_of(part.begin(), at, [](std::uint8_t byte) { return byte == 0; });
    if (!has_start_code || behind >= std::ssize(part)) {
        return false;
    }
    const bool has_slices = codec == AV_CODEC_ID_H264 || codec == AV_CODEC_ID_HEVC;
    return !has_slices || first_slice_header(codec, unit) ||
           is_delimiter(codec, part[static_cast<std::size_t>(behind)]);
}

} // namespace velmora
