// Video that tables announce as private data, without a word of what it is.
#pragma once

#include "ts/elementary_stream.h"
#include "ts/ts_packet.h"

namespace velmora {

/// Whether the tables leave open what the stream is.
bool is_undescribed(const ElementaryStream& stream);

/// What begins in a packet, by the first bytes of the unit: H.263 has no stream_type and no descriptor.
/// @return AV_CODEC_ID_NONE for what is no known video
AVCodecID recognise_video(const TsPacket& packet);

} // namespace velmora
