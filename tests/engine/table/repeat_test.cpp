// A file that repeats: back to the start at its end, in reverse back to its end.
#include "engine_under_test.h"
#include "support/stream_maker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

namespace {

using namespace std::chrono_literals;

constexpr std::uint32_t last_picture = 49;

std::filesystem::path two_seconds(const std::string& codec = "h264") {
    StreamRecipe recipe;
    recipe.codec = codec;
    recipe.width = 320;
    recipe.height = 240;
    recipe.duration = 2;
    recipe.audio = "mp2";
    return make_stream(recipe);
}

class Repeat : public testing::Test {
protected:
    /// Waits until pictures jumped so often against the direction of play.
    bool wait_for_rounds(std::size_t rounds, int direction) {
        return engine_.wait_for_info([&](const velmora_info_t& info) {
            states_.insert(info.player_info.state);
            has_rested_ = has_rested_ || info.player_info.eof != 0 || info.player_info.sof != 0;
            return jumps(direction).size() >= rounds;
        });
    }
    struct Jump {
        std::uint32_t from;
        std::uint32_t to;
        std::chrono::milliseconds pause;
    };
    std::vector<Jump> jumps(int direction) const {
        std::vector<Jump> found;
        const auto pictures = engine_.pictures();
        for (std::size_t i = 1; i < pictures.size(); ++i) {
            const std::uint32_t from = pictures[i - 1].number.value_or(0);
            const std::uint32_t to = pictures[i].number.value_or(0);
            if (direction == PLAYER_DIR_FORWARD ? to < from : to > from) {
                found.push_back({from, to,
                                 std::chrono::duration_cast<std::chrono::milliseconds>(
                                     pictures[i].when - pictures[i - 1].when)});
            }
        }
        return found;
    }

    EngineLibrary library_;
    EngineUnderTest engine_{library_};
    std::set<int> states_;
    bool has_rested_{false};
};

TEST_F(Repeat, FromTheLastPictureItGoesOnWithTheFirst) {
    ASSERT_EQ(engine_.play_repeated(two_seconds()), 0);
    ASSERT_TRUE(wait_for_rounds(2, PLAYER_DIR_FORWARD));
    for (const Jump& jump : jumps(PLAYER_DIR_FORWARD)) {
        EXPECT_EQ(jump.from, last_picture);
        EXPECT_EQ(jump.to, 0U);
    }
    EXPECT_LT(jumps(PLAYER_DIR_FORWARD).front().pause, 1s);
    EXPECT_EQ(states_, std::set<int>{PLAYRE_STATUS_PLAYING});
    EXPECT_FALSE(has_rested_);
    EXPECT_GT(engine_.info().get_strm_info.inp_disp_frames, static_cast<int>(last_picture) + 1)
        << "it counts on";
    EXPECT_EQ(engine_.info().player_info.total_second, 2);
}

TEST_F(Repeat, InReverseFromTheFirstPictureItGoesOnWithTheLast) {
    ASSERT_EQ(engine_.play_repeated(two_seconds(), PLAYER_SPD_NORMAL, PLAYER_DIR_PREVWARD), 0);
    ASSERT_TRUE(wait_for_rounds(2, PLAYER_DIR_PREVWARD));
    for (const Jump& jump : jumps(PLAYER_DIR_PREVWARD)) {
        EXPECT_EQ(jump.from, 0U);
        EXPECT_EQ(jump.to, last_picture);
    }
    EXPECT_EQ(states_, std::set<int>{PLAYRE_STATUS_PLAYING});
    EXPECT_FALSE(has_rested_);
}

TEST_F(Repeat, SoDoHigherSpeeds) {
    for (const int direction : {PLAYER_DIR_FORWARD, PLAYER_DIR_PREVWARD}) {
        for (const int speed : {PLAYER_SPD_X4, PLAYER_SPD_FAST}) {
            engine_.stop();
            engine_.forget_pictures();
            ASSERT_EQ(engine_.play_repeated(two_seconds(), speed, direction), 0);
            EXPECT_TRUE(wait_for_rounds(1, direction)) << "speed " << speed << ", direction " << direction;
            EXPECT_FALSE(has_rested_);
        }
    }
}

TEST_F(Repeat, SoDoesSoundAlone) {
    ASSERT_EQ(engine_.play_repeated(two_seconds("none")), 0);
    for (int round = 0; round < 2; ++round) {
        EXPECT_TRUE(
            engine_.wait_for_info([](const velmora_info_t& info) { return info.player_info.second == 1; }));
        EXPECT_TRUE(
            engine_.wait_for_info([](const velmora_info_t& info) { return info.player_info.second == 0; }));
    }
}

TEST_F(Repeat, PauseSeekAndTurningRoundWorkInBetween) {
    ASSERT_EQ(engine_.play_repeated(two_seconds()), 0);
    ASSERT_TRUE(wait_for_rounds(1, PLAYER_DIR_FORWARD));
    engine_.pause();
    ASSERT_TRUE(engine_.wait_for_info(
        [](const velmora_info_t& info) { return info.player_info.state == PLAYRE_STATUS_PAUSING; }));
    engine_.seek(1);
    EXPECT_TRUE(engine_.wait_for_info([&](const velmora_info_t&) { return engine_.last_number() == 25U; }));
    engine_.forget_pictures();
    engine_.set_tempo(PLAYER_DIR_PREVWARD, PLAYER_SPD_NORMAL);
    EXPECT_TRUE(wait_for_rounds(1, PLAYER_DIR_PREVWARD));
    engine_.forget_pictures();
    engine_.resume();
    EXPECT_TRUE(wait_for_rounds(1, PLAYER_DIR_FORWARD));
}

} // namespace
