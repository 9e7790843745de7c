// The statistics of a file beside what ffprobe says of the same file.
#include "engine_under_test.h"
#include "support/stream_maker.h"
#include "support/stream_probe.h"

extern "C" {
#include <libavcodec/codec_desc.h>
}

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <ostream>

namespace {

bool is_ended(const velmora_info_t& info) {
    return info.player_info.state == PLAYRE_STATUS_EOF;
}

int codec_id(const ProbedStream& stream) {
    const AVCodecDescriptor* const found = avcodec_descriptor_get_by_name(stream.text("codec_name").c_str());
    return found == nullptr ? -1 : found->id;
}

/// kbit/s of the whole file over its last second, by the places of the leading stream's packets.
double last_second_kbit(const std::vector<ProbedPacket>& packets) {
    const ProbedPacket& last = packets.back();
    constexpr double rounding = 0.0005;
    const auto first = std::find_if(packets.begin(), packets.end(), [&](const ProbedPacket& packet) {
        return last.decode - packet.decode <= 1 + rounding;
    });
    return static_cast<double>(last.position - first->position) * 8 / 1000 / (last.decode - first->decode);
}

/// kbit/s of one stream over the whole file.
double average_kbit(const std::vector<ProbedPacket>& packets) {
    const auto bytes =
        std::accumulate(packets.begin(), packets.end() - 1, std::int64_t{0},
                        [](std::int64_t sum, const ProbedPacket& packet) { return sum + packet.size; });
    return static_cast<double>(bytes) * 8 / 1000 / (packets.back().decode - packets.front().decode);
}

/// Width of a pixel over its height; square unless the stream says otherwise.
double pixel_aspect(const ProbedStream& video) {
    const double told = video.number("sample_aspect_ratio");
    return told > 0 ? told : 1;
}

struct Case {
    const char* name;
    StreamRecipe recipe;
};

void PrintTo(const Case& which, std::ostream* out) {
    *out << which.name;
}

StreamRecipe three_seconds(const char* codec, const char* audio) {
    StreamRecipe recipe;
    recipe.codec = codec;
    recipe.audio = audio;
    recipe.width = 320;
    recipe.height = 240;
    recipe.duration = 3;
    return recipe;
}

StreamRecipe oblong_pixels() {
    StreamRecipe recipe = three_seconds("mpeg2", "mp2");
    recipe.width = 352;
    recipe.height = 288;
    recipe.video_options = "-aspect 16:9";
    return recipe;
}

StreamRecipe fifty_pictures() {
    StreamRecipe recipe = three_seconds("h264", "mp3");
    recipe.fps = 50;
    recipe.bitrate = "3M";
    return recipe;
}

class Statistics : public testing::TestWithParam<Case> {
protected:
    const std::filesystem::path file_ = make_stream(GetParam().recipe);
    EngineLibrary library_;
    EngineUnderTest engine_{library_};
};

TEST_P(Statistics, AgreeWithFfprobeAtTheEnd) {
    const ProbedStream video{file_, "v:0"};
    const ProbedStream audio{file_, "a:0"};
    ASSERT_EQ(engine_.play(file_), 0);
    ASSERT_TRUE(engine_.wait_for_info(is_ended));
    const velmora_info_t info = engine_.info();
    const get_stream_info& stream = info.get_strm_info;

    EXPECT_EQ(info.inp_width, std::lround(video.number("width") * pixel_aspect(video)));
    EXPECT_EQ(info.inp_height, std::lround(video.number("height")));
    EXPECT_EQ(stream.v_codec, codec_id(video));
    EXPECT_EQ(stream.inp_fps, std::lround(video.number("avg_frame_rate")));
    EXPECT_NEAR(stream.imp_bitrate, last_second_kbit(probe_packets(file_, "v:0")), 1.0);

    const auto pictures = static_cast<int>(video.number("nb_read_frames"));
    EXPECT_EQ(stream.inp_dec_frame, pictures);
    EXPECT_LE(stream.inp_disp_frames, pictures);
    EXPECT_GE(stream.inp_disp_frames, pictures * 9 / 10) << "a busy machine may leave some out";
    EXPECT_EQ(stream.inp_dec_error, 0);

    EXPECT_EQ(stream.a_codec, codec_id(audio));
    EXPECT_EQ(stream.a_sample_rate, std::lround(audio.number("sample_rate")));
    EXPECT_EQ(stream.a_channles, std::lround(audio.number("channels")));
    const double sound_rate = average_kbit(probe_packets(file_, "a:0"));
    EXPECT_NEAR(stream.a_bitrate, sound_rate, sound_rate / 10) << "over a second, not the whole file";
}

INSTANTIATE_TEST_SUITE_P(Streams, Statistics,
                         testing::Values(Case{"H264AndMp2", three_seconds("h264", "mp2")},
                                         Case{"HevcAndAac", three_seconds("hevc", "aac")},
                                         Case{"H264AndOpus", three_seconds("h264", "opus")},
                                         Case{"Mpeg2AndAc3", three_seconds("mpeg2", "ac3")},
                                         Case{"OblongPixels", oblong_pixels()},
                                         Case{"FiftyPicturesASecondAndMp3", fifty_pictures()}),
                         [](const testing::TestParamInfo<Case>& which) {
                             return std::string{which.param.name};
                         });

TEST(StatisticsReset, ClearsTheCountersAndNothingElse) {
    const std::filesystem::path file = make_stream(three_seconds("h264", "mp2"));
    const EngineLibrary library;
    EngineUnderTest engine{library};
    ASSERT_EQ(engine.play(file), 0);
    ASSERT_TRUE(engine.wait_for_info(is_ended));
    const velmora_info_t before = engine.info();
    engine.info(true);
    const velmora_info_t after = engine.info();
    EXPECT_EQ(after.get_strm_info.inp_dec_frame, 0);
    EXPECT_EQ(after.get_strm_info.inp_disp_frames, 0);
    EXPECT_EQ(after.get_strm_info.inp_dec_error, 0);
    EXPECT_EQ(after.inp_width, before.inp_width);
    EXPECT_EQ(after.get_strm_info.inp_fps, before.get_strm_info.inp_fps);
    EXPECT_EQ(after.get_strm_info.imp_bitrate, before.get_strm_info.imp_bitrate);
    EXPECT_EQ(after.get_strm_info.v_codec, before.get_strm_info.v_codec);
    EXPECT_EQ(after.get_strm_info.a_codec, before.get_strm_info.a_codec);
    EXPECT_EQ(after.get_strm_info.a_bitrate, before.get_strm_info.a_bitrate);

    engine.seek(2);
    ASSERT_TRUE(engine.wait_for_info(
        [](const velmora_info_t& info) { return info.get_strm_info.inp_dec_frame > 0; }));
    ASSERT_TRUE(engine.wait_for_info(is_ended));
    EXPECT_LT(engine.info().get_strm_info.inp_dec_frame, before.get_strm_info.inp_dec_frame)
        << "counts what came after the reset only";
}

} // namespace
