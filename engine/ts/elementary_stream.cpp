#include "ts/elementary_stream.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <cstddef>

namespace velmora {

namespace {

constexpr std::uint8_t registration_descriptor = 0x05;
constexpr std::uint8_t ac3_descriptor = 0x6A;
constexpr std::uint8_t enhanced_ac3_descriptor = 0x7A;
constexpr std::uint8_t dts_descriptor = 0x7B;
constexpr std::uint8_t aac_descriptor = 0x7C;
constexpr std::uint8_t extension_descriptor = 0x7F;
constexpr std::uint8_t dts_hd_extension = 0x0E;
constexpr std::uint8_t opus_extension = 0x80;
constexpr std::uint8_t private_pes_stream_type = 0x06;

constexpr std::uint32_t four_cc(char a, char b, char c, char d) {
    return (static_cast<std::uint32_t>(a) << 24U) | (static_cast<std::uint32_t>(b) << 16U) |
           (static_cast<std::uint32_t>(c) << 8U) | static_cast<std::uint32_t>(d);
}

/// Of programmes as they are on Blu-ray discs.
constexpr std::uint32_t blu_ray_format = four_cc('H', 'D', 'M', 'V');

struct Meaning {
    StreamKind kind{StreamKind::unknown};
    AVCodecID codec{AV_CODEC_ID_NONE};
};

/// A codec of which the library knows the name, but not always more.
Meaning video_if_known(AVCodecID codec) {
    return avcodec_find_decoder(codec) != nullptr ? Meaning{StreamKind::video, codec} : Meaning{};
}

Meaning meaning_on_blu_ray(std::uint8_t stream_type) {
    switch (stream_type) {
    case 0x80:
        return {StreamKind::audio, AV_CODEC_ID_PCM_BLURAY};
    case 0x85: // DTS-HD
    case 0x86: // DTS-HD Master Audio
    case 0xA2: // of a second programme
        return {StreamKind::audio, AV_CODEC_ID_DTS};
    case 0xA1:
        return {StreamKind::audio, AV_CODEC_ID_EAC3};
    default:
        return {};
    }
}

Meaning meaning_of_type(std::uint8_t stream_type) {
    switch (stream_type) {
    case 0x01:
        return {StreamKind::video, AV_CODEC_ID_MPEG1VIDEO};
    case 0x02:
    case 0x80: // DigiCipher II
        return {StreamKind::video, AV_CODEC_ID_MPEG2VIDEO};
    case 0x10:
        return {StreamKind::video, AV_CODEC_ID_MPEG4};
    case 0x1B:
        return {StreamKind::video, AV_CODEC_ID_H264};
    case 0x21:
        return {StreamKind::video, AV_CODEC_ID_JPEG2000};
    case 0x24:
        return {StreamKind::video, AV_CODEC_ID_HEVC};
    case 0x33:
        return video_if_known(AV_CODEC_ID_VVC);
    case 0x42:
        return {StreamKind::video, AV_CODEC_ID_CAVS};
    case 0xD1:
        return {StreamKind::video, AV_CODEC_ID_DIRAC};
    case 0xD2:
        return video_if_known(AV_CODEC_ID_AVS2);
    case 0xD4:
        return video_if_known(AV_CODEC_ID_AVS3);
    case 0xEA:
        return {StreamKind::video, AV_CODEC_ID_VC1};
    case 0x03:
    case 0x04:
        return {StreamKind::audio, AV_CODEC_ID_MP3};
    case 0x0F:
        return {StreamKind::audio, AV_CODEC_ID_AAC};
    case 0x11:
        return {StreamKind::audio, AV_CODEC_ID_AAC_LATM};
    case 0x81:
        return {StreamKind::audio, AV_CODEC_ID_AC3};
    case 0x82:
    case 0x8A:
        return {StreamKind::audio, AV_CODEC_ID_DTS};
    case 0x83:
        return {StreamKind::audio, AV_CODEC_ID_TRUEHD};
    case 0x84:
    case 0x87:
        return {StreamKind::audio, AV_CODEC_ID_EAC3};
    case 0x15:
        return {StreamKind::data, AV_CODEC_ID_SMPTE_KLV};
    default:
        return {};
    }
}

Meaning meaning_of_registration(std::uint32_t format) {
    switch (format) {
    case four_cc('K', 'L', 'V', 'A'):
        return {StreamKind::data, AV_CODEC_ID_SMPTE_KLV};
    case four_cc('I', 'D', '3', ' '):
        return {StreamKind::data, AV_CODEC_ID_TIMED_ID3};
    case four_cc('O', 'p', 'u', 's'):
        return {StreamKind::audio, AV_CODEC_ID_OPUS};
    case four_cc('A', 'C', '-', '3'):
        return {StreamKind::audio, AV_CODEC_ID_AC3};
    case four_cc('E', 'A', 'C', '3'):
        return {StreamKind::audio, AV_CODEC_ID_EAC3};
    case four_cc('D', 'T', 'S', '1'):
    case four_cc('D', 'T', 'S', '2'):
    case four_cc('D', 'T', 'S', '3'):
        return {StreamKind::audio, AV_CODEC_ID_DTS};
    case four_cc('B', 'S', 'S', 'D'):
        return {StreamKind::audio, AV_CODEC_ID_S302M};
    case four_cc('H', 'E', 'V', 'C'):
        return {StreamKind::video, AV_CODEC_ID_HEVC};
    case four_cc('V', 'C', '-', '1'):
        return {StreamKind::video, AV_CODEC_ID_VC1};
    case four_cc('d', 'r', 'a', 'c'):
        return {StreamKind::video, AV_CODEC_ID_DIRAC};
    case four_cc('A', 'V', 'S', 'V'):
        return {StreamKind::video, AV_CODEC_ID_CAVS};
    default:
        return {};
    }
}

std::uint32_t format_of(std::span<const std::uint8_t> registration) {
    return registration.size() < 4
               ? 0
               : (static_cast<std::uint32_t>(registration[0]) << 24U) |
                     (static_cast<std::uint32_t>(registration[1]) << 16U) |
                     (static_cast<std::uint32_t>(registration[2]) << 8U) | registration[3];
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
    case ac3_descriptor:
        apply(stream, {StreamKind::audio, AV_CODEC_ID_AC3});
        break;
    case enhanced_ac3_descriptor:
        apply(stream, {StreamKind::audio, AV_CODEC_ID_EAC3});
        break;
    case dts_descriptor:
        apply(stream, {StreamKind::audio, AV_CODEC_ID_DTS});
        break;
    case aac_descriptor:
        apply(stream, {StreamKind::audio, AV_CODEC_ID_AAC});
        break;
    case extension_descriptor:
        if (!body.empty() && body[0] == dts_hd_extension) {
            apply(stream, {StreamKind::audio, AV_CODEC_ID_DTS});
        } else if (body.size() >= 2 && body[0] == opus_extension) {
            apply(stream, {StreamKind::audio, AV_CODEC_ID_OPUS});
            stream.opus_channel_config = body[1];
        }
        break;
    default:
        break;
    }
}

/// Calls `take` with the tag and the body of each.
/// @return false when there is none
template <class Take>
bool for_each_descriptor(std::span<const std::uint8_t> descriptors, const Take& take) {
    bool has_descriptor = false;
    while (descriptors.size() >= 2) {
        const std::size_t length = descriptors[1];
        if (2 + length > descriptors.size()) {
            break;
        }
        has_descriptor = true;
        take(descriptors[0], descriptors.subspan(2, length));
        descriptors = descriptors.subspan(2 + length);
    }
    return has_descriptor;
}

} // namespace

std::uint32_t registered_format(std::span<const std::uint8_t> descriptors) {
    std::uint32_t format = 0;
    for_each_descriptor(descriptors, [&](std::uint8_t tag, std::span<const std::uint8_t> body) {
        format = tag == registration_descriptor && format == 0 ? format_of(body) : format;
    });
    return format;
}

ElementaryStream describe_elementary_stream(std::uint8_t stream_type, std::uint16_t pid,
                                            std::span<const std::uint8_t> descriptors,
                                            std::uint32_t programme_format) {
    ElementaryStream stream;
    stream.pid = pid;
    stream.type = stream_type;
    apply(stream, meaning_of_type(stream_type));
    if (programme_format == blu_ray_format) {
        apply(stream, meaning_on_blu_ray(stream_type));
    }
    if (stream.kind != StreamKind::unknown) {
        return stream;
    }
    const bool is_private_pes = stream_type == private_pes_stream_type;
    const bool has_descriptor =
        for_each_descriptor(descriptors, [&](std::uint8_t tag, std::span<const std::uint8_t> body) {
            if (tag == registration_descriptor) {
                apply(stream, meaning_of_registration(format_of(body)));
            } else if (is_private_pes) {
                apply_private_descriptor(stream, tag, body);
            }
        });
    if (is_private_pes && !has_descriptor) {
        // Private PES without any description: what metadata senders without registration use.
        apply(stream, {StreamKind::data, AV_CODEC_ID_BIN_DATA});
    }
    return stream;
}

bool may_be_playable(const ElementaryStream& stream) {
    switch (stream.type) {
    case 0x05: // sections
    case 0x0A: // DSM-CC
    case 0x0B:
    case 0x0C:
    case 0x0D:
    case 0x86: // splice information
        return false;
    default:
        return stream.kind == StreamKind::unknown;
    }
}

} // namespace velmora
