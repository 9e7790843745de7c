// File playback through the engine's table: what a person sees of a file that plays, pauses, seeks and ends.
#include "engine_under_test.h"
#include "support/stream_maker.h"
#include "support/undisturbed.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <set>
#include <thread>

namespace {

using namespace std::chrono_literals;

StreamRecipe four_seconds() {
    StreamRecipe recipe;
    recipe.width = 320;
    recipe.height = 240;
    recipe.duration = 4;
    recipe.audio = "mp2";
    return recipe;
}

bool is_ended(const velmora_info_t& info) {
    return info.player_info.state == PLAYRE_STATUS_EOF;
}

class Playback : public testing::Test {
protected:
    EngineLibrary library_;
    EngineUnderTest engine_{library_};
};

TEST_F(Playback, ShowsEveryPictureOnceInOrderAndEnds) {
    ASSERT_EQ(engine_.play(make_stream(four_seconds())), 0);
    ASSERT_TRUE(engine_.wait_for_info(is_ended));
    unsigned expected = 0;
    unsigned missing = 0;
    for (const ReceivedPicture& picture : engine_.pictures()) {
        ASSERT_TRUE(picture.number);
        ASSERT_GE(*picture.number, expected) << "a picture came twice or out of order";
        missing += *picture.number - expected;
        expected = *picture.number + 1;
    }
    EXPECT_EQ(expected, 100U);
    EXPECT_LE(missing, 10U); // a busy machine may make some late
    const velmora_info_t info = engine_.info();
    EXPECT_EQ(info.player_info.eof, 1);
    EXPECT_EQ(info.player_info.second, 4);
    EXPECT_EQ(info.player_info.total_second, 4);
    EXPECT_EQ(info.get_strm_info.inp_dec_frame, 100);
    EXPECT_EQ(info.get_strm_info.inp_dec_error, 0);
}

TEST(FilePace, AScreenThatStandsStillForHalfASecondLosesNoPicture) {
    const auto file = make_stream(four_seconds());
    const EngineLibrary library;
    expect_undisturbed([&] {
        std::atomic<bool> has_stood_still{false};
        EngineUnderTest engine{library};
        engine.set_in_callback([&] {
            if (engine.picture_count() >= 20 && !has_stood_still.exchange(true)) {
                std::this_thread::sleep_for(500ms); // what is tested, not a wait
            }
        });
        EXPECT_EQ(engine.play(file), 0);
        EXPECT_TRUE(engine.wait_for_info(is_ended));
        return engine.pictures().size() == std::size_t{4} * 25;
    });
}

/// How sound leaves the machine; nothing stands for what the system has.
class PlaybackPace : public testing::TestWithParam<const char*> {};

TEST_P(PlaybackPace, IsTheStreamsWhateverBecomesOfTheSound) {
    if (*GetParam() == '\0') {
        ::unsetenv("SDL_AUDIODRIVER");
    } else {
        ::setenv("SDL_AUDIODRIVER", GetParam(), 1);
    }
    ::setenv("SDL_DISKAUDIOFILE", "/dev/null", 1);
    EngineLibrary library;
    EngineUnderTest engine{library};
    ASSERT_EQ(engine.play(make_stream(four_seconds())), 0);
    ASSERT_TRUE(engine.wait_for_info(is_ended));
    const auto pictures = engine.pictures();
    const double shown = std::chrono::duration<double>(pictures.back().when - pictures.front().when).count();
    const double due = (*pictures.back().number - *pictures.front().number) / 25.0;
    EXPECT_NEAR(shown, due, 0.3);
}

INSTANTIATE_TEST_SUITE_P(Drivers, PlaybackPace, testing::Values("", "dummy", "disk", "nonsense"));

/// Each picture is woven of two that differ: combed, its number is no number.
StreamRecipe woven_fields() {
    StreamRecipe recipe = four_seconds();
    recipe.codec = "mpeg2";
    recipe.fps = 50;
    recipe.interlaced = true;
    recipe.video_options = "-vf tinterlace=interleave_top,fieldorder=tff";
    return recipe;
}

TEST_F(Playback, ShowsInterlacedPicturesWithoutComb) {
    ASSERT_EQ(engine_.play(make_stream(woven_fields())), 0);
    ASSERT_TRUE(engine_.wait_for_info(is_ended));
    std::set<unsigned> shown;
    unsigned combed = 0;
    for (const ReceivedPicture& picture : engine_.pictures()) {
        if (picture.number) {
            EXPECT_EQ(*picture.number % 2, 0U) << "the upper field makes the picture";
            shown.insert(*picture.number);
        } else {
            ++combed; // a late machine leaves the filter out
        }
    }
    EXPECT_LE(combed, 10U);
    EXPECT_GE(shown.size(), 90U);
    EXPECT_EQ(shown.count(198), 1U) << "the last picture comes out too";
}

TEST_F(Playback, TellsTheTruthAboutTheStream) {
    ASSERT_EQ(engine_.play(make_stream(four_seconds())), 0);
    ASSERT_TRUE(engine_.wait_for_pictures(40));
    const velmora_info_t info = engine_.info();
    EXPECT_EQ(info.action_bit, 1 << PLAYBACK_BIT);
    EXPECT_EQ(info.active_app, PLAYBACK_APP);
    EXPECT_EQ(info.inp_width, 320);
    EXPECT_EQ(info.inp_height, 240);
    EXPECT_EQ(info.player_info.state, PLAYRE_STATUS_PLAYING);
    EXPECT_EQ(info.player_info.speed, PLAYER_SPD_NORMAL);
    EXPECT_EQ(info.player_info.direction, PLAYER_DIR_FORWARD);
    EXPECT_EQ(info.get_strm_info.inp_fps, 25);
    EXPECT_EQ(info.get_strm_info.v_codec, 27);
    EXPECT_EQ(info.get_strm_info.a_codec, 0x15000);
    EXPECT_EQ(info.get_strm_info.a_sample_rate, 48000);
    EXPECT_GT(info.get_strm_info.imp_bitrate, 0);
    EXPECT_GT(info.get_strm_info.inp_disp_frames, 0);
    EXPECT_STREQ(info.player_info.full_file_name, make_stream(four_seconds()).c_str());
}

TEST_F(Playback, CountersStartAgainAfterAReset) {
    ASSERT_EQ(engine_.play(make_stream(four_seconds())), 0);
    ASSERT_TRUE(engine_.wait_for_info(is_ended));
    ASSERT_GT(engine_.info().get_strm_info.inp_disp_frames, 0);
    EXPECT_EQ(engine_.info(true).get_strm_info.inp_disp_frames, 0);
    EXPECT_EQ(engine_.info().get_strm_info.inp_dec_frame, 0);
}

TEST_F(Playback, PauseFreezesThePictureAndResumeGoesOnFromIt) {
    ASSERT_EQ(engine_.play(make_stream(four_seconds())), 0);
    ASSERT_TRUE(engine_.wait_for_pictures(10));
    engine_.pause();
    ASSERT_TRUE(engine_.wait_for_info(
        [](const velmora_info_t& info) { return info.player_info.state == PLAYRE_STATUS_PAUSING; }));
    // One picture may be on its way while the command arrives.
    std::this_thread::sleep_for(100ms);
    const auto frozen = engine_.picture_count();
    const auto number = engine_.last_number();
    std::this_thread::sleep_for(400ms);
    EXPECT_EQ(engine_.picture_count(), frozen);
    engine_.resume();
    ASSERT_TRUE(engine_.wait_for_pictures(frozen + 1));
    EXPECT_EQ(engine_.pictures()[frozen].number, *number + 1);
}

TEST_F(Playback, StartsPausedWithItsFirstPicture) {
    ASSERT_EQ(engine_.play(make_stream(four_seconds()), PLAYER_SPD_PAUSE), 0);
    ASSERT_TRUE(engine_.wait_for_pictures(1));
    std::this_thread::sleep_for(300ms);
    EXPECT_EQ(engine_.picture_count(), 1U);
    EXPECT_EQ(engine_.last_number(), 0U);
    EXPECT_EQ(engine_.info().player_info.state, PLAYRE_STATUS_PAUSING);
    engine_.resume();
    EXPECT_TRUE(engine_.wait_for_pictures(10));
}

TEST_F(Playback, SeeksBehindTheEndShowTheLastPicture) {
    ASSERT_EQ(engine_.play(make_stream(four_seconds()), PLAYER_SPD_PAUSE), 0);
    ASSERT_TRUE(engine_.wait_for_pictures(1));
    engine_.seek(1000);
    ASSERT_TRUE(engine_.wait_for_pictures(2));
    EXPECT_EQ(engine_.last_number(), 99U);
    engine_.seek(-5);
    ASSERT_TRUE(engine_.wait_for_pictures(3));
    EXPECT_EQ(engine_.last_number(), 0U);
}

TEST_F(Playback, GoesOnFromASeekAfterTheEnd) {
    ASSERT_EQ(engine_.play(make_stream(four_seconds())), 0);
    ASSERT_TRUE(engine_.wait_for_info(is_ended));
    engine_.forget_pictures();
    engine_.seek(2);
    ASSERT_TRUE(engine_.wait_for_pictures(5));
    EXPECT_EQ(engine_.pictures().front().number, 50U);
    EXPECT_EQ(engine_.info().player_info.state, PLAYRE_STATUS_PLAYING);
}

TEST_F(Playback, OnlyOneThreadDeliversPictures) {
    ASSERT_EQ(engine_.play(make_stream(four_seconds())), 0);
    ASSERT_TRUE(engine_.wait_for_pictures(5));
    engine_.seek(2);
    ASSERT_TRUE(engine_.wait_for_pictures(10));
    library_.extension().Velmora_set_display_size(engine_.handle(), 160, 120);
    ASSERT_TRUE(engine_.wait_for_pictures(15));
    std::set<std::thread::id> threads;
    for (const ReceivedPicture& picture : engine_.pictures()) {
        threads.insert(picture.thread);
    }
    EXPECT_EQ(threads.size(), 1U);
}

TEST_F(Playback, NoPictureComesAfterStop) {
    for (int round = 0; round < 5; ++round) {
        ASSERT_EQ(engine_.play(make_stream(four_seconds())), 0);
        ASSERT_TRUE(engine_.wait_for_pictures(3));
        engine_.stop();
        const auto count = engine_.picture_count();
        std::this_thread::sleep_for(120ms);
        EXPECT_EQ(engine_.picture_count(), count);
        EXPECT_EQ(engine_.info().action_bit, 0);
        EXPECT_EQ(engine_.info().active_app, STREAMING_APP);
        engine_.forget_pictures();
    }
}

TEST_F(Playback, RefusesToStopInsideTheCallbackInsteadOfHanging) {
    engine_.set_in_callback([this] { engine_.stop(); });
    ASSERT_EQ(engine_.play(make_stream(four_seconds())), 0);
    ASSERT_TRUE(engine_.wait_for_pictures(3));
    engine_.set_in_callback({});
    EXPECT_EQ(engine_.info().action_bit, 1 << PLAYBACK_BIT);
}

TEST_F(Playback, DeliversPicturesAtTheDisplaysSize) {
    library_.extension().Velmora_set_display_size(engine_.handle(), 200, 200);
    ASSERT_EQ(engine_.play(make_stream(four_seconds()), PLAYER_SPD_PAUSE), 0);
    ASSERT_TRUE(engine_.wait_for_pictures(1));
    EXPECT_EQ(engine_.pictures().back().width, 200);
    EXPECT_EQ(engine_.pictures().back().height, 150);
    EXPECT_EQ(engine_.info().inp_width, 320);
    library_.extension().Velmora_set_display_size(engine_.handle(), 640, 480);
    ASSERT_TRUE(engine_.wait_for_pictures(2));
    EXPECT_EQ(engine_.pictures().back().width, 640);
    EXPECT_EQ(engine_.last_number(), 0U);
}

TEST_F(Playback, StopFromAnotherThreadEndsAStart) {
    std::atomic<bool> returned{false};
    std::jthread starter{[&] {
        for (int i = 0; i < 50; ++i) {
            engine_.play(make_stream(four_seconds()));
        }
        returned = true;
    }};
    while (!returned) {
        engine_.stop();
        std::this_thread::yield();
    }
    SUCCEED();
}

TEST_F(Playback, PlaysSoundAlone) {
    StreamRecipe recipe = four_seconds();
    recipe.codec = "none";
    ASSERT_EQ(engine_.play(make_stream(recipe)), 0);
    ASSERT_TRUE(engine_.wait_for_info(is_ended));
    EXPECT_EQ(engine_.picture_count(), 0U);
    EXPECT_EQ(engine_.info().player_info.total_second, 4);
    EXPECT_EQ(engine_.info().get_strm_info.v_codec, 0);
}

} // namespace
