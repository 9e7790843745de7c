// What is sent under a registered type or description, or under a wrong one, is played and told by its right
// name.
#include "live_under_test.h"
#include "scratch_files.h"
#include "stderr_capture.h"
#include "stream_surgery.h"

#include <gtest/gtest.h>

extern "C" {
#include <libavcodec/codec_id.h>
}

#include <algorithm>
#include <ostream>
#include <string>
#include <vector>

namespace {

constexpr unsigned video_pid = 0x100;
constexpr unsigned sound_pid = 0x101;

/// A stream of a codec.
struct Coded {
    const char* name;
    const char* video_options; ///< of ffmpeg; nothing: sound beside H.264
    const char* audio;
    const char* mux_options;
    unsigned type; ///< stream_type to announce it by; 0 = as it was muxed
    int v_codec;
    int a_codec;
    int packet{188};

    friend void PrintTo(const Coded& coded, std::ostream* out) { *out << coded.name; }
};

constexpr int second = 25; ///< pictures

StreamRecipe recipe_of(const Coded& coded) {
    StreamRecipe recipe = small_live_stream(*coded.video_options == '\0' ? "h264" : "mpeg2");
    recipe.duration = 2;
    recipe.video_options = coded.video_options;
    recipe.audio = coded.audio;
    recipe.mux_options = coded.mux_options;
    recipe.packet = coded.packet;
    return recipe;
}

Bytes stream_of(const Coded& coded) {
    const Bytes stream = stream_bytes(recipe_of(coded));
    const bool is_video = *coded.video_options != '\0';
    return coded.type == 0 ? stream : with_stream_type(stream, is_video ? video_pid : sound_pid, coded.type);
}

Coded video(const char* name, const char* options, int codec, unsigned type = 0) {
    return {name, options, "none", "", type, codec, AV_CODEC_ID_NONE};
}

Coded sound(const char* name, const char* encoder, int codec, unsigned type = 0, const char* options = "") {
    return {name, "", encoder, options, type, AV_CODEC_ID_H264, codec};
}

class Codec : public testing::TestWithParam<Coded> {
protected:
    void expect_played() {
        const Coded& coded = GetParam();
        EXPECT_TRUE(engine_.wait_for_pictures(second / 2));
        EXPECT_TRUE(engine_.wait_for_info([&](const velmora_info_t& info) {
            const bool is_heard =
                coded.a_codec == AV_CODEC_ID_NONE || info.get_strm_info.a_sample_rate == 48000;
            return info.get_strm_info.v_codec == coded.v_codec &&
                   info.get_strm_info.a_codec == coded.a_codec && is_heard;
        })) << engine_.info().get_strm_info.v_codec
            << ' ' << engine_.info().get_strm_info.a_codec;
        EXPECT_EQ(engine_.info().get_strm_info.inp_dec_error, 0);
        const auto pictures = engine_.pictures();
        EXPECT_TRUE(std::ranges::all_of(
            pictures, [](const ReceivedPicture& picture) { return picture.number.has_value(); }));
    }

    ScratchFolder scratch_;
    EngineLibrary library_;
    EngineUnderTest engine_{library_};
};

using CodecOfFile = Codec;
using CodecOfLiveStream = Codec;

TEST_P(CodecOfFile, IsPlayedFromAnySecond) {
    const auto file = scratch_.write("coded.ts", stream_of(GetParam()));
    ASSERT_EQ(engine_.play(file), 0);
    expect_played();
    engine_.pause();
    engine_.seek(1);
    EXPECT_TRUE(engine_.wait_for_info(
        [&](const velmora_info_t&) { return engine_.last_number() == static_cast<unsigned>(second); }));
}

TEST_P(CodecOfLiveStream, IsShownAndHeard) {
#ifdef __SANITIZE_THREAD__
    if (GetParam().v_codec == AV_CODEC_ID_DIRAC) {
        GTEST_SKIP() << "what the sanitizer adds to its 20 Mbit/s leaves no time to be live";
    }
#endif
    SendRecipe send = send_to(free_udp_port());
    // A machine that is too slow for a codec shows a part of each round.
    send.loops = true;
    ASSERT_EQ(view(engine_, live_setup(send.target.port)), 0);
    const StreamSender sender{stream_of(GetParam()), send};
    expect_played();
}

const std::vector<Coded>& unusual() {
    static const std::vector<Coded> all{
        video("Mpeg4", "-c:v mpeg4", AV_CODEC_ID_MPEG4),
        video("H263", "-c:v h263p -bf 0 -qscale:v 6 -aspect 4:3", AV_CODEC_ID_H263),
        video("Dirac", "-c:v vc2 -b:v 20M -maxrate 20M -bufsize 20M", AV_CODEC_ID_DIRAC),
        video("Jpeg2000", "-c:v jpeg2000 -format j2k", AV_CODEC_ID_JPEG2000, 0x21),
        sound("S302m", "s302m", AV_CODEC_ID_S302M, 0, "-strict -2"),
        sound("AacAnnouncedAsMpegAudio", "aac", AV_CODEC_ID_AAC, 0x03),
        sound("MpegAudioAnnouncedAsAac", "mp2", AV_CODEC_ID_MP2, 0x0F)};
    return all;
}

std::vector<Coded> more() {
    std::vector<Coded> all = unusual();
    all.insert(all.end(),
               {video("Mpeg1", "-c:v mpeg1video", AV_CODEC_ID_MPEG1VIDEO, 0x01),
                sound("Mp3", "mp3", AV_CODEC_ID_MP3), sound("Ac3", "ac3", AV_CODEC_ID_AC3),
                sound("Eac3", "eac3", AV_CODEC_ID_EAC3), sound("Opus", "opus", AV_CODEC_ID_OPUS),
                sound("Dts", "dca", AV_CODEC_ID_DTS, 0, "-strict -2 -b:a 768k"),
                sound("TrueHd", "truehd", AV_CODEC_ID_TRUEHD, 0, "-strict -2"),
                sound("Latm", "aac", AV_CODEC_ID_AAC, 0, "-mpegts_flags latm"),
                sound("LatmAnnouncedAsAac", "aac", AV_CODEC_ID_AAC, 0x0F, "-mpegts_flags latm"),
                sound("Ac3AnnouncedAsMpegAudio", "ac3", AV_CODEC_ID_AC3, 0x04),
                Coded{"BluRayPcm", "", "pcm_bluray", "", 0, AV_CODEC_ID_H264, AV_CODEC_ID_PCM_BLURAY, 192}});
    return all;
}

INSTANTIATE_TEST_SUITE_P(All, CodecOfFile, testing::ValuesIn(more()),
                         [](const auto& instance) { return instance.param.name; });
INSTANTIATE_TEST_SUITE_P(All, CodecOfLiveStream, testing::ValuesIn(unusual()),
                         [](const auto& instance) { return instance.param.name; });

TEST(UnknownStream, IsNamedOnce) {
    constexpr unsigned unknown_type = 0x9B;
    const ScratchFolder scratch;
    const StderrCapture errors;
    {
        const EngineLibrary library;
        EngineUnderTest engine{library};
        StreamRecipe recipe = small_live_stream();
        recipe.duration = 2;
        recipe.audio = "mp2";
        const Bytes stream = with_stream_type(stream_bytes(recipe), sound_pid, unknown_type);
        ASSERT_EQ(engine.play(scratch.write("unknown.ts", stream)), 0);
        EXPECT_TRUE(engine.wait_for_info(
            [](const velmora_info_t& info) { return info.player_info.state == PLAYRE_STATUS_EOF; }));
    }
    const auto lines = errors.lines();
    EXPECT_EQ(std::ranges::count_if(lines,
                                    [](const std::string& line) {
                                        return line.find("stream type 0x9b on PID 0x101") !=
                                               std::string::npos;
                                    }),
              1);
}

} // namespace
