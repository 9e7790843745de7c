// The sound of a played file: from queued units to decoded samples.
#pragma once

#include "decode/audio_decoder.h"
#include "media/sound_frame.h"
#include "tracks/media_units.h"
#include "tracks/stream_facts.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>

namespace velmora {

/// Rebuilds its decoder when the stream changes. Not thread-safe.
class SoundTrack {
public:
    /// Decodes one unit; sound that comes out waits in ready().
    void decode(QueuedSound queued);
    /// Drops everything, before a jump in the file; sound before `wanted_from` will not come out.
    void restart(Position wanted_from);

    /// Decoded sound, oldest first; the owner takes it.
    std::deque<SoundFrame>& ready() { return ready_; }
    const std::deque<SoundFrame>& ready() const { return ready_; }
    /// End of the sound decoded last.
    std::optional<Position> end() const { return end_; }
    /// Fills in codec, rate and the like.
    void report(StreamFacts& facts) const;
    std::uint64_t errors() const { return past_errors_ + (decoder_ ? decoder_->errors() : 0); }

private:
    bool begin_stream(const StreamIdentity& stream);
    void take_frame(SoundFrame sound);

    std::unique_ptr<AudioDecoder> decoder_;
    std::uint64_t stream_serial_{0};
    std::deque<SoundFrame> ready_;
    std::optional<Position> end_;
    Position wanted_from_{};
    std::uint64_t past_errors_{0};
};

} // namespace velmora
