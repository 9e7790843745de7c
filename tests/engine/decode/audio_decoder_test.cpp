#include "decode/audio_decoder.h"

#include "diagnostics/log.h"
#include "support/clips.h"
#include "support/tone.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

extern "C" {
#include <libavutil/samplefmt.h>
}

namespace velmora {
namespace {

using test::PesPayload;

constexpr double seconds = 3.0;
constexpr double tone = 1000.0;

struct Format {
    const char* name;
    const char* encoder; ///< ffmpeg arguments
    AVCodecID promised;  ///< what the PMT's stream type says
    AVCodecID found;     ///< what it is
    int sample_rate;
    int channels;
    int kbit_per_s;
};

void PrintTo(const Format& format, std::ostream* stream) {
    *stream << format.name;
}

const std::vector<Format>& formats() {
    static const std::vector<Format> all{
        {"mp2", "-c:a mp2 -b:a 192k -ar 48000 -ac 2", AV_CODEC_ID_MP3, AV_CODEC_ID_MP2, 48000, 2, 192},
        {"mp3", "-c:a libmp3lame -b:a 128k -ar 44100 -ac 2", AV_CODEC_ID_MP2, AV_CODEC_ID_MP3, 44100, 2, 128},
        {"aac", "-c:a aac -b:a 128k -ar 48000 -ac 2", AV_CODEC_ID_AAC, AV_CODEC_ID_AAC, 48000, 2, 0},
        {"latm", "-c:a aac -b:a 96k -ar 44100 -ac 1 -mpegts_flags latm", AV_CODEC_ID_AAC_LATM,
         AV_CODEC_ID_AAC, 44100, 1, 0},
        {"ac3", "-c:a ac3 -b:a 384k -ar 48000 -ac 6", AV_CODEC_ID_AC3, AV_CODEC_ID_AC3, 48000, 6, 384},
        {"eac3", "-c:a eac3 -b:a 192k -ar 48000 -ac 2", AV_CODEC_ID_AC3, AV_CODEC_ID_EAC3, 48000, 2, 192},
        {"opus", "-c:a libopus -b:a 96k -vbr off -ar 48000 -ac 2", AV_CODEC_ID_OPUS, AV_CODEC_ID_OPUS, 48000,
         2, 96},
    };
    return all;
}

/// Clips of each format, made once.
const std::vector<PesPayload>& payloads_of(const Format& format) {
    static std::map<std::string, std::vector<PesPayload>> made;
    auto& payloads = made[format.name];
    if (payloads.empty()) {
        const test::ScratchDirectory scratch;
        const auto clip = scratch.file("clip.ts");
        test::make_clip("-f lavfi -i 'aevalsrc=0.5*sin(2*PI*1000*t):s=48000:d=" + std::to_string(seconds) +
                            "' " + format.encoder + " -f mpegts",
                        clip);
        payloads = test::audio_payloads(clip);
    }
    return payloads;
}

std::optional<Position> position_of(const PesPayload& payload) {
    return payload.pts ? std::optional{Position{Ticks{*payload.pts}}} : std::nullopt;
}

std::vector<SoundFrame> decode_all(AudioDecoder& decoder, const std::vector<PesPayload>& payloads) {
    std::vector<SoundFrame> frames;
    for (const PesPayload& payload : payloads) {
        decoder.decode(payload.bytes, position_of(payload),
                       [&](SoundFrame frame) { frames.push_back(std::move(frame)); });
    }
    return frames;
}

/// All samples, the channels of planar sound added up.
std::vector<float> mixed(const std::vector<SoundFrame>& frames) {
    std::vector<float> samples;
    for (const SoundFrame& sound : frames) {
        const AVFrame& frame = *sound.frame;
        for (int i = 0; i < frame.nb_samples; ++i) {
            float sum = 0;
            for (int channel = 0; channel < frame.ch_layout.nb_channels; ++channel) {
                const std::uint8_t* const data = frame.extended_data[channel];
                sum += frame.format == AV_SAMPLE_FMT_S16P
                           ? static_cast<float>(reinterpret_cast<const std::int16_t*>(data)[i]) / 32768
                           : reinterpret_cast<const float*>(data)[i];
            }
            samples.push_back(sum);
        }
    }
    return samples;
}

/// The layer of MPEG audio is known from each frame.
AVCodecID kind_of(AVCodecID codec) {
    return codec == AV_CODEC_ID_MP1 || codec == AV_CODEC_ID_MP2 ? AV_CODEC_ID_MP3 : codec;
}

class AudioDecoderFormats : public testing::TestWithParam<Format> {
protected:
    static void SetUpTestSuite() { capture_ffmpeg_messages(); }
};

TEST_P(AudioDecoderFormats, DecodesTheToneAndTellsTheFacts) {
    const Format& format = GetParam();
    AudioDecoder decoder{format.promised, {}, format.channels};
    const auto frames = decode_all(decoder, payloads_of(format));

    EXPECT_EQ(decoder.errors(), 0U);
    EXPECT_EQ(decoder.codec_id(), format.found);
    EXPECT_EQ(decoder.facts().sample_rate, format.sample_rate);
    EXPECT_EQ(decoder.facts().channels, format.channels);
    EXPECT_EQ(decoder.facts().bits_per_sample, 16);
    EXPECT_GT(decoder.facts().kbit_per_s, 0);
    if (format.kbit_per_s > 0) {
        EXPECT_NEAR(decoder.facts().kbit_per_s, format.kbit_per_s, format.kbit_per_s * 0.03);
    }

    const auto samples = mixed(frames);
    EXPECT_NEAR(static_cast<double>(samples.size()) / format.sample_rate, seconds, 0.15);
    const auto middle = std::span{samples}.subspan(samples.size() / 4, samples.size() / 2);
    EXPECT_GT(test::tone_amplitude(middle, tone, format.sample_rate), 0.2);
    EXPECT_LT(test::tone_amplitude(middle, tone * 1.5, format.sample_rate), 0.03);
}

TEST_P(AudioDecoderFormats, CountsPositionsOnWithTheSamples) {
    const Format& format = GetParam();
    AudioDecoder decoder{format.promised, {}, format.channels};
    const auto& payloads = payloads_of(format);
    const auto frames = decode_all(decoder, payloads);

    ASSERT_GE(frames.size() + 1, payloads.size()) << "each PES holds a frame or more";
    EXPECT_NEAR(static_cast<double>(frames.front().position.time_since_epoch().count()),
                static_cast<double>(*payloads.front().pts), 2000.0);
    for (std::size_t i = 1; i < frames.size(); ++i) {
        const AVFrame& before = *frames[i - 1].frame;
        const double expected = 90000.0 * before.nb_samples / before.sample_rate;
        const Ticks step = frames[i].position - frames[i - 1].position;
        ASSERT_NEAR(static_cast<double>(step.count()), expected, 4.0) << "frame " << i;
    }
}

TEST_P(AudioDecoderFormats, FollowsTheTimestampBehindAGap) {
    const Format& format = GetParam();
    AudioDecoder decoder{format.promised, {}, format.channels};
    auto payloads = payloads_of(format);
    const std::size_t middle = payloads.size() / 2;
    constexpr std::int64_t gap = 450000; // 5 s;
    for (std::size_t i = middle; i < payloads.size(); ++i) {
        *payloads[i].pts += gap;
    }
    const auto frames = decode_all(decoder, payloads);
    const Ticks covered = frames.back().position - frames.front().position;
    EXPECT_NEAR(static_cast<double>(covered.count()) / 90000, seconds + 5, 0.15);
}

TEST_P(AudioDecoderFormats, StartsAnewAfterAFlush) {
    const Format& format = GetParam();
    AudioDecoder decoder{format.promised, {}, format.channels};
    const auto& payloads = payloads_of(format);
    std::vector<SoundFrame> frames;
    const auto sink = [&](SoundFrame frame) { frames.push_back(std::move(frame)); };
    for (int round = 0; round < 2; ++round) {
        decoder.flush();
        decoder.decode(payloads[0].bytes, std::nullopt, sink);
        EXPECT_TRUE(frames.empty()) << "nothing can be heard before its position is known";
        decoder.decode(payloads[1].bytes, position_of(payloads[1]), sink);
        decoder.decode(payloads[2].bytes, position_of(payloads[2]), sink);
        ASSERT_FALSE(frames.empty());
        EXPECT_NEAR(static_cast<double>(frames.front().position.time_since_epoch().count()),
                    static_cast<double>(*payloads[1].pts), 1.0);
        frames.clear();
    }
    EXPECT_EQ(decoder.errors(), 0U);
}

TEST_P(AudioDecoderFormats, GoesByItsFramesWhateverTheTablesSay) {
    const Format& format = GetParam();
    if (format.found == AV_CODEC_ID_OPUS) {
        GTEST_SKIP() << "without a description Opus cannot be told from anything";
    }
    for (const AVCodecID announced :
         {AV_CODEC_ID_MP3, AV_CODEC_ID_AAC, AV_CODEC_ID_AAC_LATM, AV_CODEC_ID_AC3, AV_CODEC_ID_EAC3}) {
        AudioDecoder decoder{announced};
        const auto frames = decode_all(decoder, payloads_of(format));
        EXPECT_EQ(decoder.errors(), 0U) << announced;
        EXPECT_EQ(decoder.codec_id(), format.found) << announced;
        const auto samples = mixed(frames);
        EXPECT_NEAR(static_cast<double>(samples.size()) / format.sample_rate, seconds, 0.15) << announced;
        const auto middle = std::span{samples}.subspan(samples.size() / 4, samples.size() / 2);
        EXPECT_GT(test::tone_amplitude(middle, tone, format.sample_rate), 0.2) << announced;
    }
}

TEST_P(AudioDecoderFormats, IsNotRecognisedInRandomBytes) {
    const Format& format = GetParam();
    std::mt19937 random{4711}; // NOLINT(cert-msc51-cpp): the same bytes in each run
    AudioDecoder decoder{format.promised, {}, format.channels};
    for (int i = 0; i < 60; ++i) {
        std::vector<std::uint8_t> bytes(2000);
        std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<std::uint8_t>(random()); });
        decoder.decode(bytes, Position{}, [](const SoundFrame&) {});
    }
    EXPECT_EQ(kind_of(decoder.codec_id()), kind_of(AudioDecoder{format.promised}.codec_id()));
}

TEST_P(AudioDecoderFormats, GoesOnThroughDamage) {
    const Format& format = GetParam();
    std::mt19937 random{4711}; // NOLINT(cert-msc51-cpp): the same damage in each run
    std::uint64_t errors = 0;
    for (int round = 0; round < 20; ++round) {
        AudioDecoder decoder{format.promised, {}, format.channels};
        auto payloads = payloads_of(format);
        for (std::size_t i = 0; i < payloads.size() / 2; ++i) {
            auto& bytes = payloads[i].bytes;
            for (int flips = 0; flips < 30; ++flips) {
                bytes[random() % bytes.size()] ^= static_cast<std::uint8_t>(1U << random() % 8);
            }
            if (random() % 4 == 0) {
                bytes.resize(random() % bytes.size());
            }
            if (random() % 4 == 0) {
                std::generate(bytes.begin(), bytes.end(),
                              [&] { return static_cast<std::uint8_t>(random()); });
            }
        }
        const auto frames = decode_all(decoder, payloads);
        errors += decoder.errors();
        ASSERT_FALSE(frames.empty());
        const Ticks end = frames.back().position - Position{Ticks{*payloads.back().pts}};
        EXPECT_GT(static_cast<double>(end.count()) / 90000, -0.2) << "the undamaged half shall be decoded";
        EXPECT_EQ(decoder.facts().sample_rate, format.sample_rate);
    }
    EXPECT_GT(errors, 0U);
}

INSTANTIATE_TEST_SUITE_P(All, AudioDecoderFormats, testing::ValuesIn(formats()),
                         [](const auto& tested) { return tested.param.name; });

TEST(AudioDecoder, PassesOverWhatItHasNoDecoderFor) {
    AudioDecoder decoder{AV_CODEC_ID_SMPTE_KLV};
    EXPECT_FALSE(decoder.usable());
    decoder.decode(std::vector<std::uint8_t>(1000, 0xFF), Position{}, [](const SoundFrame&) { FAIL(); });
    EXPECT_EQ(decoder.codec_id(), AV_CODEC_ID_SMPTE_KLV);
    decoder.flush();
}

} // namespace
} // namespace velmora
