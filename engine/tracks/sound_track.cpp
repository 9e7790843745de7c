#include "tracks/sound_track.h"

#include "diagnostics/log.h"

#include <span>
#include <string>
#include <utility>

namespace velmora {

bool SoundTrack::begin_stream(const StreamIdentity& stream) {
    if (stream_serial_ == stream.serial) {
        return decoder_->usable();
    }
    past_errors_ = errors();
    stream_serial_ = stream.serial;
    const int channels = stream.opus_channel_config > 0 ? stream.opus_channel_config : 2;
    decoder_ = std::make_unique<AudioDecoder>(stream.codec, std::span<const std::uint8_t>{}, channels);
    if (!decoder_->usable()) {
        log_incident("audio", "decoder",
                     std::string{"no decoder for "} + avcodec_get_name(stream.codec) + ", sound left out");
    }
    return decoder_->usable();
}

void SoundTrack::decode(QueuedSound queued) {
    using namespace std::chrono_literals;
    constexpr Ticks decoder_warm_up = 200ms;
    if (queued.position && *queued.position + decoder_warm_up < wanted_from_) {
        return;
    }
    if (!begin_stream(queued.stream)) {
        return;
    }
    const auto payload = std::span<const std::uint8_t>{queued.bytes}.subspan(queued.payload_start);
    decoder_->decode(payload, queued.position, [this](SoundFrame sound) { take_frame(std::move(sound)); });
}

void SoundTrack::take_frame(SoundFrame sound) {
    if (sound.position < wanted_from_) {
        return;
    }
    if (sound.frame->sample_rate > 0) {
        end_ = sound.position + Ticks{std::int64_t{sound.frame->nb_samples} * Timeline::period::den /
                                      sound.frame->sample_rate};
    }
    ready_.push_back(std::move(sound));
}

void SoundTrack::restart(Position wanted_from) {
    if (decoder_) {
        decoder_->flush();
    }
    ready_.clear();
    end_.reset();
    wanted_from_ = wanted_from;
}

void SoundTrack::report(StreamFacts& facts) const {
    if (!decoder_) {
        return;
    }
    const SoundFacts& sound = decoder_->facts();
    facts.audio_codec = decoder_->codec_id();
    facts.sample_rate = sound.sample_rate;
    facts.audio_bitrate = sound.kbit_per_s;
    facts.channels = sound.channels;
    facts.bits_per_sample = sound.bits_per_sample;
}

} // namespace velmora
