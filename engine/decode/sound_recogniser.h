// What the sound of a stream is by its own frames, whatever the tables say.
#pragma once

extern "C" {
#include <libavcodec/codec_id.h>
}

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace velmora {

/// Looks at the first frames of a stream: MPEG audio of any layer (told as AV_CODEC_ID_MP3), AAC in ADTS or
/// LOAS, AC-3 and E-AC-3 have headers that tell them apart. For one thread.
class SoundRecogniser {
public:
    /// @param announced what the tables say; it holds where frames of it begin, and for every other codec
    explicit SoundRecogniser(AVCodecID announced) : announced_{announced} {}

    /// @param payload of the next PES packet
    /// @return what it is; nothing while that takes more frames
    std::optional<AVCodecID> look(std::span<const std::uint8_t> payload);

private:
    AVCodecID announced_;
    std::vector<std::uint8_t> bytes_; ///< of the payloads so far
    int payloads_{0};
};

} // namespace velmora
