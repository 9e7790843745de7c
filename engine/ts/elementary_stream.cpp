#include "ts/elementary_stream.h"

#include <cstddef>

namespace velmora {

namespace {

constexpr std::uint8_t registration_descriptor = 0x05;
constexpr std::uint8_t ac3_descriptor = 0x6A;
constexpr std::uint8_t enhanced_ac3_descriptor = 0x7A;
constexpr std::uint8_t aac_descriptor = 0x7C;
constexpr std::uint8_t extension_descriptor = 0x7F;
constexpr std::uint8_t opus_extension = 0x80;
constexpr std::uint8_t private_pes_stream_type = 0x06;

constexpr std::uint32_t four_cc(char a, char b, char c, char d) {
    return (static_cast<std::uint32_t>(a) << 24U) | (static_cast<std::uint32_t>(b) << 16U) |
           (static_cast<std::uint32_t>(c) << 8U) | static_cast<std::uint32_t>(d);
}

struct Meaning {
    StreamKind kind;
    AVCodecID codec;
};

Meaning meaning_of_type(std::uint8_t stream_type) {
    switch (stream_type) {
    case 0x01:
        return {StreamKind::video, AV_CODEC_ID_MPEG1VIDEO};
    case 0x02:
        return {StreamKind::video, AV_CODEC_ID_MPEG2VIDEO};
    case 0x1B:
        return {StreamKind::video, AV_CODEC_ID_H264};
    case 0x24:
        return {StreamKind::video, AV_CODEC_ID_HEVC};
    case 0x03:
    case 0x04:
        return {StreamKind::audio, AV_CODEC_ID_MP3};
    case 0x0F:
        return {StreamKind::audio, AV_CODEC_ID_AAC};
    case 0x11:
        return {StreamKind::audio, AV_CODEC_ID_AAC_LATM};
    case 0x81:
        return {StreamKind::audio, AV_CODEC_ID_AC3};
    case 0x87:
        return {StreamKind::audio, AV_CODEC_ID_EAC3};
    case 0x15:
        return {StreamKind::data, AV_CODEC_ID_SMPTE_KLV};
    default:
        return {StreamKind::unknown, AV_CODEC_ID_NONE};
    }
}

Meaning meaning_of_registration(std::uint32_t format) {
    switch (format) {
    case four_cc('K', 'L', 'V', 'A'):
        return {StreamKind::data, AV_CODEC_ID_SMPTE_KLV};
    case four_cc('O', 'p', 'u', 's'):
        return {StreamKind::audio, AV_CODEC_ID_OPUS};
    case four_cc('A', 'C', '-', '3'):
        return {StreamKind::audio, AV_CODEC_ID_AC3};
    case four_cc('E', 'A', 'C', '3'):
        return {StreamKind::audio, AV_CODEC_ID_EAC3};
    case four_cc('H', 'E', 'V', 'C'):
        return {StreamKind::video, AV_CODEC_ID_HEVC};
    default:
        return {StreamKind::unknown, AV_CODEC_ID_NONE};
    }
}

void apply(ElementaryStream& stream, Meaning meaning) {
    if (meaning.kind != StreamKind::unknown) {
        stream.kind = meaning.kind;
        stream.codec = meaning.codec;
    }
}

void apply_private_descriptor(ElementaryStream& stream, std::uint8_t tag,
                              std::span<const std::uint8_t> body) {
    switch (tag) {
    case registration_descriptor:
        if (body.size() >= 4) {
            const std::uint32_t format = (static_cast<std::uint32_t>(body[0]) << 24U) |
                                         (static_cast<std::uint32_t>(body[1]) << 16U) |
                                         (static_cast<std::uint32_t>(body[2]) << 8U) | body[3];
            apply(stream, meaning_of_registration(format));
        }
        break;
    case ac3_descriptor:
        apply(stream, {StreamKind::audio, AV_CODEC_ID_AC3});
        break;
    case enhanced_ac3_descriptor:
        apply(stream, {StreamKind::audio, AV_CODEC_ID_EAC3});
        break;
    case aac_descriptor:
        apply(stream, {StreamKind::audio, AV_CODEC_ID_AAC});
        break;
    case extension_descriptor:
        if (body.size() >= 2 && body[0] == opus_extension) {
            apply(stream, {StreamKind::audio, AV_CODEC_ID_OPUS});
            stream.opus_channel_config = body[1];
        }
        break;
    default:
        break;
    }
}

} // namespace

ElementaryStream describe_elementary_stream(std::uint8_t stream_type, std::uint16_t pid,
                                            std::span<const std::uint8_t> descriptors) {
    ElementaryStream stream;
    stream.pid = pid;
    stream.type = stream_type;
    apply(stream, meaning_of_type(stream_type));
    if (stream_type != private_pes_stream_type) {
        return stream;
    }
    bool has_descriptor = false;
    while (descriptors.size() >= 2) {
        const std::size_t length = descriptors[1];
        if (2 + length > descriptors.size()) {
            break;
        }
        has_descriptor = true;
        apply_private_descriptor(stream, descriptors[0], descriptors.subspan(2, length));
        descriptors = descriptors.subspan(2 + length);
    }
    if (!has_descriptor) {
        // Private PES without any description: what metadata senders without registration use.
        apply(stream, {StreamKind::data, AV_CODEC_ID_BIN_DATA});
    }
    return stream;
}

} // namespace velmora
