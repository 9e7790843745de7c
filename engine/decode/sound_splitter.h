// Cuts the payload of audio PES packets into coded frames.
#pragma once

#include "media/av_handles.h"
#include "media/timeline.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

namespace velmora {

/// One coded frame. The bytes are valid during the call that brings it only, and are followed by
/// AV_INPUT_BUFFER_PADDING_SIZE readable ones.
struct CodedSound {
    std::span<const std::uint8_t> bytes;
    std::optional<Position> position; ///< for the first frame that starts in its PES
    std::uint32_t trim_at_start{0};   ///< samples the decoder shall leave out before
    std::uint32_t trim_at_end{0};     ///< samples the decoder shall leave out behind
};

/// Frames may start and end anywhere in a PES, and pieces are kept until the rest of their frame comes.
/// For one thread.
class SoundSplitter {
public:
    using Sink = std::function<void(const CodedSound&)>;

    explicit SoundSplitter(AVCodecID codec);

    /// Gives each frame that is complete now to `sink`.
    /// @return number of places where bytes made no sense
    unsigned split(std::span<const std::uint8_t> pes_payload, std::optional<Position> position,
                   const Sink& sink);

    /// Forgets the piece of a frame that is kept.
    void flush();

    /// What the stream turned out to be: the layer of MPEG audio, AC-3 or E-AC-3.
    AVCodecID codec_id() const;

private:
    unsigned split_opus(std::optional<Position> position, const Sink& sink);
    unsigned split_parsed(std::optional<Position> position, const Sink& sink);

    AVCodecID codec_;
    CodecContext context_; ///< where the parser notes what it finds; none for Opus
    CodecParser parser_;
    std::vector<std::uint8_t> payload_; ///< padded copy of the PES in work
    std::size_t payload_size_{0};
};

} // namespace velmora
