#include "ts/undescribed_video.h"

#include "ts/pes.h"

#include <span>

namespace velmora {

namespace {

/// ITU-T H.263, 5.1: picture start code, temporal reference, the first bits of PTYPE.
bool begins_h263_picture(std::span<const std::uint8_t> bytes) {
    if (bytes.size() < 5 || bytes[0] != 0 || bytes[1] != 0 || (bytes[2] & 0xFCU) != 0x80 ||
        (bytes[3] & 0x03U) != 0x02) {
        return false;
    }
    const unsigned source_format = bytes[4] >> 2U & 7U;
    return source_format != 0 && source_format != 6; // forbidden and reserved
}

} // namespace

bool is_undescribed(const ElementaryStream& stream) {
    return stream.kind == StreamKind::data && stream.codec == AV_CODEC_ID_BIN_DATA;
}

AVCodecID recognise_video(const TsPacket& packet) {
    const auto header = packet.payload_unit_start ? parse_pes_header(packet.payload) : std::nullopt;
    const bool is_video = header && header->size <= packet.payload.size() &&
                          begins_h263_picture(packet.payload.subspan(header->size));
    return is_video ? AV_CODEC_ID_H263 : AV_CODEC_ID_NONE;
}

} // namespace velmora
