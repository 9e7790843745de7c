// A file that plays backward, and that turns round: which pictures come, and when.
#include "small_streams.h"
#include "support/player_sim.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace velmora::test {
namespace {

using namespace std::chrono_literals;

struct Machine {
    const char* name;
    int gop;
    std::chrono::milliseconds cost; ///< of decoding a picture
};

void PrintTo(const Machine& machine, std::ostream* out) {
    *out << machine.name;
}

class ReversePlayOn : public testing::TestWithParam<Machine> {};

TEST_P(ReversePlayOn, ShowsEveryPictureAtItsTime) {
    StreamRecipe recipe = small_stream(60);
    recipe.gop = GetParam().gop;
    PlayerSim sim;
    sim.time().set_cost(each_picture_costs(GetParam().cost));
    ASSERT_TRUE(sim.play(make_stream(recipe)));
    sim.run_for(38s);
    const int from = static_cast<int>(*sim.shown().back().number);
    sim.forget();
    sim.turn_round();
    sim.run_for(50s);
    ASSERT_FALSE(sim.shown().empty());
    const Milliseconds begin = sim.shown().front().at;
    EXPECT_LE(begin, 38s + 40ms) << "the picture before is there";
    EXPECT_TRUE(shows(sim.shown(), {{.first = from - 1, .last = 0, .begin = begin}}));
    EXPECT_EQ(sim.report().state, PlaybackReport::State::at_start);
}

INSTANTIATE_TEST_SUITE_P(Machines, ReversePlayOn,
                         testing::Values(Machine{"WithoutCost", 50, 0ms}, Machine{"Fast", 50, 4ms},
                                         Machine{"TwiceAsFastAsNeeded", 50, 20ms},
                                         Machine{"LongGroupsFast", 250, 4ms},
                                         Machine{"LongGroupsTwiceAsFastAsNeeded", 250, 20ms}),
                         [](const auto& test) { return std::string{test.param.name}; });

TEST(ReversePlay, TurnsRoundAtOnceBothWays) {
    PlayerSim sim;
    ASSERT_TRUE(sim.play(make_stream(small_stream(60))));
    sim.run_for(10010ms);
    sim.turn_round();
    sim.run_for(5s);
    sim.resume();
    sim.run_for(2s);
    EXPECT_TRUE(shows(sim.shown(), {{.last = 250},
                                    {.first = 249, .last = 124, .begin = 10010ms},
                                    {.first = 124, .last = 174, .begin = 15010ms}}));
}

TEST(ReversePlay, BeginsWithTheLastPicture) {
    PlayerSim sim;
    ASSERT_TRUE(sim.play(make_stream(small_stream(10)), {.tempo = {Direction::reverse, Speed::normal}}));
    sim.run_for(12s);
    ASSERT_GE(sim.shown().size(), 2U);
    EXPECT_TRUE(shows(sim.shown(),
                      {{.first = 249, .last = 249}, {.first = 248, .last = 0, .begin = sim.shown()[1].at}}));
    EXPECT_LE(sim.shown()[1].at, 40ms);
}

TEST(ReversePlay, RepeatsFromTheEnd) {
    PlayerSim sim;
    ASSERT_TRUE(sim.play(make_stream(small_stream(10)), {.repeats = true}));
    sim.run_for(1010ms);
    sim.turn_round();
    sim.run_for(2s);
    const ShownPictures& shown = sim.shown();
    const auto again = std::ranges::find(shown, 249U, &ShownPicture::number);
    ASSERT_NE(again, shown.end());
    EXPECT_EQ(std::prev(again)->number, 0U);
}

class HigherReverseSpeed : public testing::TestWithParam<Speed> {};

TEST_P(HigherReverseSpeed, ShowsEachPictureAtItsTimeAndNoMoreThanAScreenIsMeantTo) {
    const int speed = static_cast<int>(GetParam());
    PlayerSim sim;
    ASSERT_TRUE(sim.play(make_stream(small_stream(60))));
    sim.run_for(50010ms);
    sim.forget();
    sim.set_tempo({Direction::reverse, GetParam()});
    constexpr int seconds = 8;
    sim.run_for(std::chrono::seconds{seconds});
    const ShownPictures& shown = sim.shown();
    ASSERT_FALSE(shown.empty());
    const Milliseconds begin = shown.front().at;
    EXPECT_EQ(begin, 50010ms);
    const int first = static_cast<int>(shown.front().number.value_or(0));
    for (std::size_t i = 0; i < shown.size(); ++i) {
        ASSERT_TRUE(shown[i].number);
        EXPECT_NEAR((shown[i].at - begin).count(),
                    (first - static_cast<int>(*shown[i].number)) * 40.0 / speed, 0.05);
        if (i > 0) {
            EXPECT_LT(*shown[i].number, *shown[i - 1].number);
            EXPECT_LE(shown[i].at - shown[i - 1].at, 60.1ms) << "picture " << *shown[i].number;
        }
    }
    EXPECT_GE(shown.size(), 25U * seconds);
    EXPECT_LE(shown.size(), 31U * seconds);
}

INSTANTIATE_TEST_SUITE_P(Speeds, HigherReverseSpeed,
                         testing::Values(Speed::times_2, Speed::times_3, Speed::times_4, Speed::times_5),
                         [](const auto& test) { return "X" + std::to_string(static_cast<int>(test.param)); });

TEST(ReversePlay, AShortStandstillCostsNoPicture) {
    PlayerSim sim;
    sim.time().set_cost(each_picture_costs(4ms));
    sim.stall(25005ms, 200ms);
    ASSERT_TRUE(sim.play(make_stream(small_stream(60))));
    sim.run_for(20s);
    sim.forget();
    sim.turn_round();
    sim.run_for(10s);
    const int first = static_cast<int>(sim.shown().front().number.value_or(0));
    const Milliseconds begin = sim.shown().front().at;
    const int late = first - 126; // the first that is due while the machine stands still
    // Late pictures follow each other twice as fast until one is due: 165 ms are made up for by nine.
    EXPECT_TRUE(shows(sim.shown(), {{.first = first, .last = late + 1, .begin = begin},
                                    {.first = late, .last = late - 8, .begin = 25205ms, .interval = 20ms},
                                    {.first = late - 9, .last = first - 250, .begin = begin + 135 * 40ms}}));
}

} // namespace
} // namespace velmora::test
