// A file that plays forward: which pictures come, and when.
#include "small_streams.h"
#include "support/player_sim.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <string>

namespace velmora::test {
namespace {

using namespace std::chrono_literals;

struct Kind {
    const char* name;
    const char* codec;
    int fps;
    int bframes;
};

void PrintTo(const Kind& kind, std::ostream* out) {
    *out << kind.name;
}

class ForwardPlayOf : public testing::TestWithParam<Kind> {};

TEST_P(ForwardPlayOf, ShowsEveryPictureAtItsTime) {
    const Kind& kind = GetParam();
    StreamRecipe recipe = small_stream(10);
    recipe.codec = kind.codec;
    recipe.fps = kind.fps;
    recipe.bframes = kind.bframes;
    recipe.video_options.clear();
    PlayerSim sim;
    ASSERT_TRUE(sim.play(make_stream(recipe)));
    sim.run_for(12s);
    EXPECT_TRUE(
        shows(sim.shown(), {{.last = 10 * kind.fps - 1, .interval = Milliseconds{1000.0 / kind.fps}}}));
    EXPECT_EQ(sim.report().state, PlaybackReport::State::at_end);
}

INSTANTIATE_TEST_SUITE_P(Codecs, ForwardPlayOf,
                         testing::Values(Kind{"H264", "h264", 25, 0}, Kind{"H264Reordered", "h264", 25, 3},
                                         Kind{"H264At30", "h264", 30, 2}, Kind{"H264At50", "h264", 50, 2},
                                         Kind{"Hevc", "hevc", 25, 3}, Kind{"Mpeg2", "mpeg2", 25, 2}),
                         [](const auto& test) { return std::string{test.param.name}; });

TEST(ForwardPlay, NeitherLosesNorAddsTimeInAMinute) {
    PlayerSim sim;
    ASSERT_TRUE(sim.play(make_stream(small_stream(60))));
    sim.run_for(62s);
    EXPECT_TRUE(shows(sim.shown(), {{.last = 1499}}));
}

TEST(ForwardPlay, EndsOnceTheLastPictureHasStood) {
    PlayerSim sim;
    ASSERT_TRUE(sim.play(make_stream(small_stream(10))));
    sim.run_for(9999ms);
    EXPECT_EQ(sim.report().state, PlaybackReport::State::playing);
    sim.run_for(1ms);
    EXPECT_EQ(sim.report().state, PlaybackReport::State::at_end);
}

TEST(ForwardPlay, FetchesEachSoundBeforeItIsHeard) {
    StreamRecipe recipe = small_stream(10);
    recipe.audio = "mp2";
    PlayerSim sim;
    ASSERT_TRUE(sim.play(make_stream(recipe)));
    const SteadyTime begin = sim.time().now();
    sim.run_for(12s);
    EXPECT_TRUE(shows(sim.shown(), {{.last = 249}}));
    const auto heard = sim.ear().heard();
    constexpr auto frame = std::chrono::duration_cast<Ticks>(24ms); // 1152 samples at 48 kHz
    EXPECT_GE(heard.size(), 416U) << "ten seconds";
    for (std::size_t i = 1; i < heard.size(); ++i) {
        EXPECT_EQ(heard[i].position, heard[i - 1].position + frame);
        const SteadyTime due =
            begin + std::chrono::duration_cast<SteadyClock::duration>(heard[i].position.time_since_epoch());
        const SteadyTime fetched = std::max(due - SimulatedEar::lead, begin);
        EXPECT_GE(heard[i].at, fetched);
        EXPECT_LE(heard[i].at, fetched + SimulatedEar::interval) << "frame " << i;
    }
}

class HigherSpeed : public testing::TestWithParam<Speed> {};

TEST_P(HigherSpeed, ShowsEachPictureAtItsTimeAndNoMoreThanAScreenIsMeantTo) {
    const int speed = static_cast<int>(GetParam());
    PlayerSim sim;
    ASSERT_TRUE(sim.play(make_stream(small_stream(60)), {.tempo = {Direction::forward, GetParam()}}));
    constexpr int seconds = 8;
    sim.run_for(std::chrono::seconds{seconds});
    const ShownPictures& shown = sim.shown();
    for (std::size_t i = 0; i < shown.size(); ++i) {
        ASSERT_TRUE(shown[i].number);
        EXPECT_NEAR(shown[i].at.count(), *shown[i].number * 40.0 / speed, 0.05);
        if (i > 0) {
            EXPECT_GT(*shown[i].number, *shown[i - 1].number);
            EXPECT_LE(shown[i].at - shown[i - 1].at, 60.1ms) << "picture " << *shown[i].number;
        }
    }
    EXPECT_GE(shown.size(), 25U * seconds);
    EXPECT_LE(shown.size(), 30U * seconds + 1);
}

TEST_P(HigherSpeed, EndsWithTheLastPicture) {
    PlayerSim sim;
    ASSERT_TRUE(sim.play(make_stream(small_stream(10)), {.tempo = {Direction::forward, GetParam()}}));
    sim.run_for(10s);
    EXPECT_EQ(sim.shown().back().number, 249U);
    EXPECT_EQ(sim.report().state, PlaybackReport::State::at_end);
}

INSTANTIATE_TEST_SUITE_P(Speeds, HigherSpeed,
                         testing::Values(Speed::times_2, Speed::times_3, Speed::times_4, Speed::times_5),
                         [](const auto& test) { return "X" + std::to_string(static_cast<int>(test.param)); });

TEST(FastPlay, ShowsKeyPicturesEvenlyBothWays) {
    PlayerSim sim;
    ASSERT_TRUE(sim.play(make_stream(small_stream(60))));
    sim.run_for(2010ms);
    sim.set_tempo({Direction::forward, Speed::fast});
    sim.run_for(2010ms);
    sim.set_tempo({Direction::reverse, Speed::fast});
    sim.run_for(3s);
    EXPECT_TRUE(
        shows(sim.shown(), {{.last = 50},
                            {.first = 100, .last = 900, .begin = 2010ms, .interval = 125ms, .step = 50},
                            {.first = 850, .last = 0, .begin = 4020ms, .interval = 125ms, .step = 50}}));
    EXPECT_EQ(sim.report().state, PlaybackReport::State::at_start);
}

TEST(Pause, LeavesThePictureAndGoesOnWhereItWas) {
    PlayerSim sim;
    ASSERT_TRUE(sim.play(make_stream(small_stream(10))));
    sim.run_for(1010ms);
    sim.pause();
    sim.run_for(1h);
    EXPECT_TRUE(shows(sim.shown(), {{.last = 25}}));
    sim.forget();
    sim.resume();
    sim.run_for(1s);
    EXPECT_TRUE(shows(sim.shown(), {{.first = 26, .last = 50, .begin = 1h + 1040ms}}));
}

TEST(Seek, ShowsThePictureAskedForAndGoesOnFromIt) {
    PlayerSim sim;
    ASSERT_TRUE(sim.play(make_stream(small_stream(60))));
    sim.run_for(1010ms);
    sim.seek(33s);
    sim.run_for(1s);
    sim.seek(2s);
    sim.run_for(500ms);
    EXPECT_TRUE(shows(sim.shown(), {{.last = 25},
                                    {.first = 825, .last = 850, .begin = 1010ms},
                                    {.first = 50, .last = 62, .begin = 2010ms}}));
}

TEST(Seek, InPauseShowsOnePictureAndGoesOnFromIt) {
    PlayerSim sim;
    ASSERT_TRUE(sim.play(make_stream(small_stream(60))));
    sim.run_for(1010ms);
    sim.pause();
    sim.seek(33s);
    sim.run_for(10s);
    sim.seek(12s);
    sim.run_for(10s);
    sim.resume();
    sim.run_for(1s);
    EXPECT_TRUE(shows(sim.shown(), {{.last = 25},
                                    {.first = 825, .last = 825, .begin = 1010ms},
                                    {.first = 300, .last = 300, .begin = 11010ms},
                                    {.first = 301, .last = 325, .begin = 21050ms}}));
}

TEST(Seek, OfSeveralAtOnceTheLastCounts) {
    PlayerSim sim;
    ASSERT_TRUE(sim.play(make_stream(small_stream(60))));
    sim.run_for(1010ms);
    sim.seek(33s);
    sim.seek(44s);
    sim.run_for(1s);
    EXPECT_TRUE(shows(sim.shown(), {{.last = 25}, {.first = 1100, .last = 1125, .begin = 1010ms}}));
}

TEST(Seek, BehindTheEndShowsTheLastPicture) {
    PlayerSim sim;
    ASSERT_TRUE(sim.play(make_stream(small_stream(10))));
    sim.run_for(1010ms);
    sim.seek(1h);
    sim.run_for(1s);
    EXPECT_TRUE(shows(sim.shown(), {{.last = 25}, {.first = 249, .last = 249, .begin = 1010ms}}));
    EXPECT_EQ(sim.report().state, PlaybackReport::State::at_end);
}

/// What is decoded on the way to the picture takes its time, and no more.
TEST(Seek, TakesNoLongerThanDecodingWhatIsNeeded) {
    for (const int gop : {50, 250}) {
        StreamRecipe recipe = small_stream(60);
        recipe.gop = gop;
        PlayerSim sim;
        constexpr auto cost = 4ms;
        sim.time().set_cost(each_picture_costs(cost));
        ASSERT_TRUE(sim.play(make_stream(recipe)));
        sim.run_for(3010ms);
        sim.forget();
        sim.seek(33s);
        sim.run_for(2s);
        const int on_the_way = 825 % gop / (recipe.bframes + 1) + 1; // references
        // Pictures in the pipe: the next reference, those between it and this one, and one that shows its
        // end.
        const int beyond = 2 * (recipe.bframes + 1) + 1;
        ASSERT_FALSE(sim.shown().empty());
        const Milliseconds begin = sim.shown().front().at;
        EXPECT_LE(begin, 3010ms + cost * (on_the_way + beyond)) << "groups of " << gop;
        const int last = 825 + static_cast<int>((sim.now() - begin) / 40ms);
        EXPECT_TRUE(shows(sim.shown(), {{.first = 825, .last = last, .begin = begin}}))
            << "groups of " << gop;
    }
}

TEST(RepeatedPlay, BeginsAgainWithoutAPause) {
    PlayerSim sim;
    ASSERT_TRUE(sim.play(make_stream(small_stream(10)), {.repeats = true}));
    sim.run_for(25s);
    EXPECT_TRUE(
        shows(sim.shown(), {{.last = 249}, {.last = 249, .begin = 10s}, {.last = 125, .begin = 20s}}));
}

} // namespace
} // namespace velmora::test
