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

} // namespace velmora
