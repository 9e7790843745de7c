// Directions, turning round and ends: told from the numbers of the pictures that are shown.
#include "engine_under_test.h"
#include "scratch_files.h"
#include "stream_surgery.h"
#include "support/stream_maker.h"
#include "support/undisturbed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace {

using namespace std::chrono_literals;

constexpr unsigned fps = 25;

StreamRecipe stream(int gop, int seconds, const std::string& codec = "h264", int bframes = 3,
                    const std::string& options = {}) {
    StreamRecipe recipe;
    recipe.codec = codec;
    recipe.width = 320;
    recipe.height = 240;
    recipe.duration = seconds;
    recipe.gop = gop;
    recipe.bframes = bframes;
    recipe.audio = "mp2";
    recipe.video_options = options;
    return recipe;
}

bool is_at_start(const velmora_info_t& info) {
    return info.player_info.state == PLAYRE_STATUS_SOF;
}

bool is_at_end(const velmora_info_t& info) {
    return info.player_info.state == PLAYRE_STATUS_EOF;
}

std::vector<unsigned> numbers(const std::vector<ReceivedPicture>& pictures) {
    std::vector<unsigned> shown;
    for (const ReceivedPicture& picture : pictures) {
        if (picture.number && (shown.empty() || shown.back() != *picture.number)) {
            shown.push_back(*picture.number);
        }
    }
    return shown;
}

struct TrickCase {
    std::string name;
    StreamRecipe recipe;
};

void PrintTo(const TrickCase& trick_case, std::ostream* out) {
    *out << trick_case.name;
}

class Reverse : public testing::TestWithParam<TrickCase> {};

TEST_P(Reverse, ShowsEveryPictureOnceInFallingOrder) {
    const StreamRecipe& recipe = GetParam().recipe;
    EngineLibrary library;
    const unsigned count = fps * static_cast<unsigned>(recipe.duration);
    expect_undisturbed([&] {
        EngineUnderTest engine{library};
        EXPECT_EQ(engine.play(make_stream(recipe), PLAYER_SPD_NORMAL, PLAYER_DIR_PREVWARD), 0);
        EXPECT_TRUE(engine.wait_for_info(is_at_start));
        const auto shown = numbers(engine.pictures());
        if (shown.empty()) {
            ADD_FAILURE() << "nothing was shown";
            return true;
        }
        EXPECT_EQ(shown.front(), count - 1) << "reverse begins at the end";
        EXPECT_EQ(shown.back(), 0U);
        EXPECT_TRUE(std::ranges::is_sorted(shown, std::ranges::greater{}));
        const velmora_info_t info = engine.info();
        EXPECT_EQ(info.player_info.sof, 1);
        EXPECT_EQ(info.player_info.eof, 0);
        EXPECT_EQ(info.player_info.second, 0);
        EXPECT_EQ(info.player_info.direction, PLAYER_DIR_PREVWARD);
        EXPECT_GE(info.get_strm_info.inp_dec_frame, static_cast<int>(shown.size()));
        EXPECT_EQ(info.get_strm_info.inp_disp_frames, static_cast<int>(shown.size()));
        EXPECT_EQ(info.get_strm_info.inp_dec_error, 0);
        return shown.size() >= count * 9 / 10; // a busy machine may make some late
    });
}

INSTANTIATE_TEST_SUITE_P(
    Streams, Reverse,
    testing::Values(TrickCase{"H264", stream(50, 6)}, TrickCase{"H264LongGop", stream(250, 6)},
                    TrickCase{"H264OpenGop", stream(50, 6, "h264", 3, "-x264-params open-gop=1")},
                    TrickCase{"H264OneKeyPicture", stream(100000, 6)},
                    TrickCase{"H264SixteenPicturesBetween",
                              stream(51, 6, "h264", 16, "-b_strategy 0 -x264-params b-pyramid=none")},
                    TrickCase{"Hevc", stream(50, 6, "hevc")}, TrickCase{"Mpeg2", stream(12, 6, "mpeg2", 2)},
                    TrickCase{"H264WithoutReordering", stream(25, 6, "h264", 0)}),
    [](const auto& instance) { return instance.param.name; });

class TrickPlay : public testing::Test {
protected:
    EngineLibrary library_;
    EngineUnderTest engine_{library_};
};

TEST_F(TrickPlay, ReverseOnASmallDisplayIsWholeAndSmallAndTurnsRoundWithoutAGap) {
    library_.extension().Velmora_set_display_size(engine_.handle(), 200, 1000);
    ASSERT_EQ(engine_.play(make_stream(stream(125, 8))), 0);
    ASSERT_TRUE(engine_.wait_for_pictures(60));
    engine_.set_tempo(PLAYER_DIR_PREVWARD, PLAYER_SPD_NORMAL);
    ASSERT_TRUE(engine_.wait_for_info(is_at_start));
    const auto pictures = engine_.pictures();
    for (const ReceivedPicture& picture : pictures) {
        EXPECT_EQ(picture.width, 200);
        EXPECT_EQ(picture.height, 150);
    }
    EXPECT_EQ(engine_.info().inp_width, 320) << "what the stream has, not what is shown";
    const auto shown = numbers(pictures);
    const auto turn = std::ranges::max_element(shown);
    ASSERT_NE(turn, shown.end());
    EXPECT_TRUE(std::is_sorted(turn, shown.end(), std::ranges::greater{}));
    EXPECT_EQ(shown.back(), 0U);
    ASSERT_GT(std::distance(turn, shown.end()), 5);
    EXPECT_EQ(*(turn + 1), *turn - 1) << "the first older picture is the one that was shown before";
    EXPECT_GE(std::distance(turn, shown.end()), static_cast<std::ptrdiff_t>(*turn * 9 / 10));
}

TEST_F(TrickPlay, FastEndsWithTheLastPicture) {
    ASSERT_EQ(engine_.play(make_stream(stream(50, 20)), PLAYER_SPD_FAST), 0);
    ASSERT_TRUE(engine_.wait_for_info(is_at_end));
    EXPECT_EQ(engine_.last_number(), 499U);
    const auto shown = numbers(engine_.pictures());
    EXPECT_TRUE(std::ranges::is_sorted(shown));
    EXPECT_GE(shown.size(), 8U);
    EXPECT_GE(engine_.info().get_strm_info.inp_dec_frame, static_cast<int>(shown.size()));
    EXPECT_EQ(engine_.info().get_strm_info.inp_dec_error, 0);
}

/// What play of this tempo counts on its way from the end to the beginning.
int errors_backward(EngineUnderTest& engine, const std::filesystem::path& file, int speed) {
    EXPECT_EQ(engine.play(file, PLAYER_SPD_PAUSE, PLAYER_DIR_PREVWARD), 0);
    EXPECT_TRUE(engine.wait_for_pictures(1));
    engine.info(true);
    engine.set_tempo(PLAYER_DIR_PREVWARD, speed);
    EXPECT_TRUE(engine.wait_for_info(is_at_start));
    const int errors = engine.info().get_strm_info.inp_dec_error;
    engine.stop();
    engine.forget_pictures();
    return errors;
}

TEST_F(TrickPlay, CountsWhatIsDamagedAtEverySpeedBackward) {
    Bytes stream = read_bytes(make_stream(::stream(25, 4)));
    for (const std::size_t start : picture_starts(stream)) {
        constexpr std::size_t behind_head = 400; // in the data of a key picture, or another packet's header
        std::fill_n(stream.begin() + static_cast<std::ptrdiff_t>(start + behind_head), 600,
                    std::uint8_t{0xFF});
    }
    const ScratchFolder scratch;
    const auto file = scratch.write("damaged.ts", stream);
    for (const int speed : {PLAYER_SPD_X5, PLAYER_SPD_FAST}) {
        EXPECT_GT(errors_backward(engine_, file, speed), 0) << "speed " << speed;
        EXPECT_EQ(errors_backward(engine_, make_stream(::stream(25, 4)), speed), 0) << "speed " << speed;
    }
}

TEST_F(TrickPlay, EverySpeedEndsWithTheLastPictureBothWays) {
    const auto file = make_stream(stream(50, 4)); // its last picture is none that higher speeds keep
    for (const int speed : {PLAYER_SPD_X2, PLAYER_SPD_X3, PLAYER_SPD_X4, PLAYER_SPD_X5}) {
        EngineUnderTest engine{library_};
        ASSERT_EQ(engine.play(file, speed), 0);
        ASSERT_TRUE(engine.wait_for_info(is_at_end));
        EXPECT_EQ(engine.last_number(), 99U) << "speed " << speed;
        engine.set_tempo(PLAYER_DIR_PREVWARD, speed);
        ASSERT_TRUE(engine.wait_for_info(is_at_start));
        EXPECT_EQ(engine.last_number(), 0U) << "speed " << speed;
    }
}

TEST_F(TrickPlay, TurningRoundAtTheEndAndAtTheStartLeadsOn) {
    ASSERT_EQ(engine_.play(make_stream(stream(50, 20)), PLAYER_SPD_PAUSE), 0);
    engine_.seek(19);
    engine_.resume();
    ASSERT_TRUE(engine_.wait_for_info(is_at_end));
    engine_.set_tempo(PLAYER_DIR_PREVWARD, PLAYER_SPD_X5);
    ASSERT_TRUE(engine_.wait_for_info(is_at_start));
    EXPECT_EQ(engine_.last_number(), 0U);
    engine_.forget_pictures();
    engine_.resume();
    ASSERT_TRUE(engine_.wait_for_pictures(20));
    const auto shown = numbers(engine_.pictures());
    EXPECT_LE(shown.front(), 2U);
    EXPECT_TRUE(std::ranges::is_sorted(shown));
    EXPECT_EQ(engine_.info().player_info.state, PLAYRE_STATUS_PLAYING);
}

TEST_F(TrickPlay, APauseInReverseFreezesAndResumesBothWays) {
    ASSERT_EQ(engine_.play(make_stream(stream(50, 20)), PLAYER_SPD_NORMAL, PLAYER_DIR_PREVWARD), 0);
    ASSERT_TRUE(engine_.wait_for_pictures(20));
    engine_.pause();
    ASSERT_TRUE(engine_.wait_for_info(
        [](const velmora_info_t& info) { return info.player_info.state == PLAYRE_STATUS_PAUSING; }));
    const auto frozen = engine_.last_number();
    engine_.forget_pictures();
    engine_.resume();
    ASSERT_TRUE(engine_.wait_for_pictures(10));
    auto shown = numbers(engine_.pictures());
    EXPECT_NEAR(shown.front(), *frozen, 2) << "forward goes on from the picture that stood";
    EXPECT_TRUE(std::ranges::is_sorted(shown));
}

TEST_F(TrickPlay, ASeekInReverseShowsItsSecondAndGoesOnBackward) {
    ASSERT_EQ(engine_.play(make_stream(stream(50, 20)), PLAYER_SPD_NORMAL, PLAYER_DIR_PREVWARD), 0);
    ASSERT_TRUE(engine_.wait_for_pictures(5));
    engine_.seek(8);
    const auto shown_since_seek = [&] {
        const auto shown = numbers(engine_.pictures());
        return std::vector(std::ranges::find(shown, 200U), shown.end());
    };
    ASSERT_TRUE(engine_.wait_for_info([&](const velmora_info_t&) { return shown_since_seek().size() > 10; }));
    EXPECT_TRUE(std::ranges::is_sorted(shown_since_seek(), std::ranges::greater{}));
}

TEST_F(TrickPlay, ASeekAfterHighSpeedIsExact) {
    ASSERT_EQ(engine_.play(make_stream(stream(50, 20)), PLAYER_SPD_X5), 0);
    ASSERT_TRUE(engine_.wait_for_pictures(10));
    engine_.pause();
    for (const int second : {3, 11, 5, 17, 8}) {
        engine_.seek(second);
        EXPECT_TRUE(engine_.wait_for_info([&](const velmora_info_t&) {
            return engine_.last_number() == static_cast<unsigned>(second) * fps;
        })) << second;
    }
}

TEST_F(TrickPlay, AThousandRandomCommandsEndWithTheLastOne) {
    ASSERT_EQ(engine_.play(make_stream(stream(50, 20))), 0);
    std::mt19937 random{11};
    std::uniform_int_distribution<int> any{0, 99};
    for (int i = 0; i < 1000; ++i) {
        const int kind = any(random) % 3;
        if (kind == 0) {
            engine_.seek(any(random) % 24);
        } else {
            engine_.set_tempo(any(random) % 2, any(random) % 7);
        }
        if (i % 10 == 0) {
            const velmora_info_t info = engine_.info();
            EXPECT_GE(info.player_info.second, 0);
            EXPECT_LE(info.player_info.second, 20);
            engine_.wait_for_pictures(engine_.picture_count() + 1, 0s);
        }
    }
    engine_.pause();
    engine_.seek(7);
    ASSERT_TRUE(engine_.wait_for_info([&](const velmora_info_t& info) {
        return engine_.last_number() == 175U && info.player_info.second == 7;
    }));
    engine_.resume();
    engine_.forget_pictures();
    ASSERT_TRUE(engine_.wait_for_pictures(5));
    EXPECT_TRUE(std::ranges::is_sorted(numbers(engine_.pictures())));
}

} // namespace
