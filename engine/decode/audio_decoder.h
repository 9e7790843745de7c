// Turns the audio of a transport stream into samples.
#pragma once

#include "decode/sound_recogniser.h"
#include "decode/sound_splitter.h"
#include "media/av_handles.h"
#include "media/sound_frame.h"
#include "media/timeline.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

namespace velmora {

/// What the last decoded frames were like; zeros before the first.
struct SoundFacts {
    int sample_rate{0}; ///< Hz
    int channels{0};
    int bits_per_sample{0}; ///< word length of the source; 16 for coders that have none
    int kbit_per_s{0};      ///< coded bits over the last second of sound
};

/// Decodes MPEG audio of all layers, AAC (ADTS and LATM), AC-3, E-AC-3 and Opus, or whatever else the codec
/// library knows and the PES carries plainly. Bytes that make no sense are counted and passed over.
/// For one thread; throws nothing but std::bad_alloc.
class AudioDecoder {
public:
    using Sink = std::function<void(SoundFrame)>;

    /// @param codec what the PMT promises; the first frames' own headers decide
    /// @param extradata set-up bytes of the codec, if it has any outside the stream
    /// @param channels for Opus without extradata: number of channels
    explicit AudioDecoder(AVCodecID codec, std::span<const std::uint8_t> extradata = {}, int channels = 2);

    /// Decodes the payload of one PES packet.
    /// @param position of the first frame that starts in this payload, when the PES tells it
    /// @param sink gets each decoded frame; frames before the first position are left out
    void decode(std::span<const std::uint8_t> pes_payload, std::optional<Position> position,
                const Sink& sink);

    /// Forgets what is in work: the next payload comes from another place of the stream.
    void flush();

    /// What is really decoded: the layer of MPEG audio as its frames tell it, AAC for LATM also.
    AVCodecID codec_id() const;
    /// Whether there is a decoder for the codec; without one everything is passed over.
    bool usable() const { return context_ != nullptr; }
    const SoundFacts& facts() const { return facts_; }
    /// Frames and places in the stream that could not be decoded, since construction.
    std::uint64_t errors() const { return errors_; }

private:
    /// A payload that waits until its codec is recognised.
    struct HeldPayload {
        std::vector<std::uint8_t> bytes;
        std::optional<Position> position;
    };

    void open(AVCodecID codec);
    bool recognise(std::span<const std::uint8_t> pes_payload, std::optional<Position> position,
                   const Sink& sink);
    void adopt(AVCodecID codec);
    void decode_payload(std::span<const std::uint8_t> pes_payload, std::optional<Position> position,
                        const Sink& sink);
    void decode_frame(const CodedSound& coded, const Sink& sink);
    void receive_frames(const Sink& sink);
    void deliver(AvFrame frame, const Sink& sink);
    void note_bit_rate(const AVFrame& frame);

    AVCodecID codec_; ///< as promised or recognised
    std::vector<std::uint8_t> extradata_;
    std::optional<SoundRecogniser> recogniser_; ///< until it has recognised the codec
    std::vector<HeldPayload> held_;
    SoundSplitter splitter_;
    CodecContext context_;
    AvPacket packet_;
    SoundFacts facts_;
    std::uint64_t errors_{0};

    // Where the next frame stands: a timestamp and the samples since, so that nothing is rounded twice.
    std::optional<Position> base_;
    std::int64_t samples_since_base_{0};
    int base_rate_{0};

    std::int64_t coded_bytes_{0}; ///< of the bit rate's running second
    std::int64_t decoded_samples_{0};
};

} // namespace velmora
