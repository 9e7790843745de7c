// Seeking shows exactly the first picture at or behind the wanted second, whatever the stream is made of.
#include "engine_under_test.h"
#include "support/stream_maker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <random>

namespace {

struct SeekCase {
    std::string name;
    StreamRecipe recipe;
};

void PrintTo(const SeekCase& seek_case, std::ostream* out) {
    *out << seek_case.name;
}

StreamRecipe twenty_seconds(const std::string& codec, int gop, const std::string& options = {}) {
    StreamRecipe recipe;
    recipe.codec = codec;
    recipe.width = 320;
    recipe.height = 240;
    recipe.duration = 20;
    recipe.gop = gop;
    recipe.bframes = codec == "mpeg2" ? 2 : 3;
    recipe.video_options = options;
    return recipe;
}

StreamRecipe interlaced(StreamRecipe recipe) {
    recipe.interlaced = true;
    return recipe;
}

std::vector<SeekCase> cases() {
    return {
        {"H264ClosedGop", twenty_seconds("h264", 50)},
        {"H264LongGop", twenty_seconds("h264", 250)},
        {"H264OpenGop", twenty_seconds("h264", 50, "-x264-params open-gop=1")},
        {"H264WithoutReordering", twenty_seconds("h264", 50, "-tune zerolatency")},
        {"H264IntraRefresh", twenty_seconds("h264", 50, "-x264-params intra-refresh=1:bframes=0")},
        {"H264AllIntra", twenty_seconds("h264", 1)},
        {"H264OneKeyPicture", twenty_seconds("h264", 100000)},
        {"H264DeepReordering", twenty_seconds("h264", 50, "-bf 8 -b_strategy 0")},
        {"H264SixteenPicturesBetween",
         twenty_seconds("h264", 51, "-bf 16 -b_strategy 0 -x264-params b-pyramid=none")},
        {"H264Interlaced", interlaced(twenty_seconds("h264", 50))},
        {"Hevc", twenty_seconds("hevc", 50)},
        {"HevcOpenGop", twenty_seconds("hevc", 50, "-x265-params keyint=50:open-gop=1:log-level=error")},
        {"Mpeg2", twenty_seconds("mpeg2", 15)},
        {"Mpeg2Interlaced", interlaced(twenty_seconds("mpeg2", 15))},
    };
}

class Seek : public testing::TestWithParam<SeekCase> {};

/// Seeks in pause and expects the number that stands at each second.
void expect_exact_seeks(EngineUnderTest& engine, int seconds, int seeks, unsigned pictures_per_second = 25) {
    ASSERT_TRUE(engine.wait_for_pictures(1));
    std::mt19937 random{7};
    std::uniform_int_distribution<int> any_second{0, seconds - 1};
    int previous = 0;
    for (int i = 0; i < seeks; ++i) {
        int second = any_second(random);
        if (second == previous) {
            second = (second + 1) % seconds;
        }
        previous = second;
        engine.forget_pictures();
        engine.seek(second);
        ASSERT_TRUE(engine.wait_for_pictures(1)) << "second " << second;
        EXPECT_EQ(engine.pictures().front().number, static_cast<unsigned>(second) * pictures_per_second)
            << "second " << second;
        EXPECT_EQ(engine.info().player_info.second, second);
    }
}

TEST_P(Seek, ShowsTheExactPicture) {
    EngineLibrary library;
    EngineUnderTest engine{library};
    ASSERT_EQ(engine.play(make_stream(GetParam().recipe), PLAYER_SPD_PAUSE), 0);
    ASSERT_TRUE(engine.wait_for_pictures(1));
    expect_exact_seeks(engine, 20, 24);
}

INSTANTIATE_TEST_SUITE_P(Streams, Seek, testing::ValuesIn(cases()),
                         [](const auto& instance) { return instance.param.name; });

TEST(SeekInLargePictures, IsExactAndGoesOnToTheEnd) {
    StreamRecipe recipe = twenty_seconds("h264", 50);
    recipe.width = 1280;
    recipe.height = 720;
    recipe.duration = 8;
    EngineLibrary library;
    EngineUnderTest engine{library};
    library.extension().Velmora_set_display_size(engine.handle(), 320, 180);
    ASSERT_EQ(engine.play(make_stream(recipe), PLAYER_SPD_PAUSE), 0);
    expect_exact_seeks(engine, 8, 8);
    engine.seek(5);
    engine.forget_pictures();
    engine.resume();
    ASSERT_TRUE(engine.wait_for_info(
        [](const velmora_info_t& info) { return info.player_info.state == PLAYRE_STATUS_EOF; }));
    const auto pictures = engine.pictures();
    EXPECT_TRUE(std::ranges::is_sorted(pictures, {}, &ReceivedPicture::number));
    EXPECT_EQ(pictures.back().number, 199U);
    EXPECT_EQ(engine.info().get_strm_info.inp_dec_error, 0);
}

std::filesystem::path joined(const std::filesystem::path& first, const std::filesystem::path& second,
                             const std::string& name) {
    auto path = first.parent_path() / (name + "." + std::to_string(::getpid()) + ".ts");
    std::ofstream out{path, std::ios::binary};
    out << std::ifstream{first, std::ios::binary}.rdbuf() << std::ifstream{second, std::ios::binary}.rdbuf();
    return path;
}

TEST(SeekBetweenPictures, ShowsTheFirstOneBehindTheSecond) {
    // 29.97 pictures per second: none stands at a whole second but the first.
    StreamRecipe recipe = twenty_seconds("h264", 60,
                                         "-vf setpts=PTS*1.001 -fps_mode passthrough "
                                         "-enc_time_base 1:90000");
    recipe.fps = 30;
    EngineLibrary library;
    EngineUnderTest engine{library};
    ASSERT_EQ(engine.play(make_stream(recipe), PLAYER_SPD_PAUSE), 0);
    ASSERT_TRUE(engine.wait_for_pictures(1));
    for (const int second : {7, 1, 19, 12, 3, 16}) {
        engine.forget_pictures();
        engine.seek(second);
        ASSERT_TRUE(engine.wait_for_pictures(1)) << "second " << second;
        EXPECT_EQ(engine.pictures().front().number, static_cast<unsigned>(std::ceil(second * 30 / 1.001)))
            << "second " << second;
    }
}

TEST(SeekInJoinedRecordings, TheTimelineIsTheSumOfThePieces) {
    StreamRecipe first = twenty_seconds("h264", 50);
    StreamRecipe second = first;
    second.first = 500;
    const auto file = joined(make_stream(first), make_stream(second), "joined");
    EngineLibrary library;
    EngineUnderTest engine{library};
    ASSERT_EQ(engine.play(file, PLAYER_SPD_PAUSE), 0);
    ASSERT_TRUE(
        engine.wait_for_info([](const velmora_info_t& info) { return info.player_info.total_second == 40; }));
    expect_exact_seeks(engine, 40, 24);
    std::filesystem::remove(file);
}

TEST(SeekInJoinedRecordings, CodecAndPidsMayChange) {
    StreamRecipe first = twenty_seconds("h264", 50);
    StreamRecipe second = twenty_seconds("mpeg2", 15);
    second.first = 500;
    second.mux_options = "-streamid 0:401 -mpegts_pmt_start_pid 4000";
    const auto file = joined(make_stream(first), make_stream(second), "mixed");
    EngineLibrary library;
    EngineUnderTest engine{library};
    ASSERT_EQ(engine.play(file, PLAYER_SPD_PAUSE), 0);
    ASSERT_TRUE(
        engine.wait_for_info([](const velmora_info_t& info) { return info.player_info.total_second == 40; }));
    expect_exact_seeks(engine, 40, 16);
    std::filesystem::remove(file);
}

class SeekAcrossTheWrap : public testing::TestWithParam<double> {};

TEST_P(SeekAcrossTheWrap, PositionsGoOnBehindIt) {
    StreamRecipe recipe = twenty_seconds("h264", 50);
    recipe.start = GetParam();
    EngineLibrary library;
    EngineUnderTest engine{library};
    ASSERT_EQ(engine.play(make_stream(recipe), PLAYER_SPD_PAUSE), 0);
    ASSERT_TRUE(
        engine.wait_for_info([](const velmora_info_t& info) { return info.player_info.total_second == 20; }));
    expect_exact_seeks(engine, 20, 16);
}

// The 33-bit counter wraps after 95443.7 s: in the middle, within the first group, and between the decoding
// time of the first picture and its presentation.
INSTANTIATE_TEST_SUITE_P(Starts, SeekAcrossTheWrap, testing::Values(95434.0, 95442.0, 95442.3));

TEST(SeekAtOnce, LandsExactlyInALargeFileWhoseScanHasJustBegun) {
    StreamRecipe recipe = twenty_seconds("h264", 50);
    recipe.mux_options = "-muxrate 60M"; // mostly null packets
    EngineLibrary library;
    EngineUnderTest engine{library};
    ASSERT_EQ(engine.play(make_stream(recipe), PLAYER_SPD_PAUSE), 0);
    engine.seek(17);
    ASSERT_TRUE(
        engine.wait_for_info([&](const velmora_info_t&) { return engine.last_number() == 17U * 25U; }));
    EXPECT_EQ(engine.info().player_info.second, 17);
    EXPECT_EQ(engine.info().player_info.total_second, 20);
}

TEST(SeekRepeatedly, TheLastCommandWinsAndTheOthersCostLittle) {
    EngineLibrary library;
    EngineUnderTest engine{library};
    ASSERT_EQ(engine.play(make_stream(twenty_seconds("h264", 250)), PLAYER_SPD_PAUSE), 0);
    ASSERT_TRUE(engine.wait_for_pictures(1));
    const auto land_on = [&](unsigned second) {
        engine.seek(static_cast<int>(second));
        ASSERT_TRUE(
            engine.wait_for_info([&](const velmora_info_t&) { return engine.last_number() == second * 25; }));
        EXPECT_EQ(engine.info().player_info.second, static_cast<int>(second));
    };
    engine.info(true);
    land_on(9);
    const int of_one = engine.info().get_strm_info.inp_dec_frame;
    ASSERT_GT(of_one, 50) << "it is far from its key picture";
    engine.info(true);
    for (int i = 0; i < 20; ++i) {
        engine.seek((i * 7) % 20);
    }
    land_on(19);
    EXPECT_LE(engine.info().get_strm_info.inp_dec_frame, of_one * 5 / 2);
}

} // namespace
