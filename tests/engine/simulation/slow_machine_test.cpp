// A file on a machine that is slow, or stands still for a while: what is shown, and when it is on time again.
#include "small_streams.h"
#include "support/player_sim.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace velmora::test {
namespace {

using namespace std::chrono_literals;

/// When the pictures of a run are due: evenly, the one of this number at this time.
struct Schedule {
    int number;
    Milliseconds at;

    Milliseconds due(const ShownPicture& picture) const {
        return at + (static_cast<int>(picture.number.value_or(0)) - number) * Milliseconds{40};
    }
};

constexpr Milliseconds on_time{0.05};

/// The first picture from which on all are on time.
ShownPictures::const_iterator begin_of_even_end(const ShownPictures& shown, const Schedule& schedule) {
    return std::find_if(
               shown.rbegin(), shown.rend(),
               [&](const ShownPicture& picture) { return picture.at - schedule.due(picture) > on_time; })
        .base();
}

class FileOnASlowMachine : public testing::Test {
protected:
    /// @param cost of decoding a picture
    void play(std::chrono::milliseconds cost, std::chrono::seconds length) {
        sim.time().set_cost(each_picture_costs(cost));
        ASSERT_TRUE(sim.play(make_stream(small_stream(60))));
        sim.run_for(length);
        ASSERT_GE(shown.size(), 2U);
    }

    /// That the last pictures came evenly and on time.
    void expect_even_end(const Schedule& schedule) {
        const auto begin = begin_of_even_end(shown, schedule);
        ASSERT_NE(begin, shown.end()) << summary(shown);
        const ShownPictures end{begin, shown.cend()};
        EXPECT_TRUE(shows(end, {{.first = static_cast<int>(*end.front().number),
                                 .last = static_cast<int>(*end.back().number),
                                 .begin = end.front().at}}));
    }

    PlayerSim sim;
    const ShownPictures& shown{sim.shown()};
};

TEST_F(FileOnASlowMachine, TwiceAsFastAsNeededShowsEveryPictureAtItsTime) {
    play(20ms, 20s);
    EXPECT_TRUE(
        shows(shown, {{.last = 0, .begin = shown[0].at},
                      {.first = 1, .last = static_cast<int>(*shown.back().number), .begin = shown[1].at}}));
}

TEST_F(FileOnASlowMachine, JustFastEnoughShowsEveryPictureAtItsTime) {
    play(40ms, 20s);
    EXPECT_TRUE(
        shows(shown, {{.last = 0, .begin = shown[0].at},
                      {.first = 1, .last = static_cast<int>(*shown.back().number), .begin = shown[1].at}}));
}

TEST_F(FileOnASlowMachine, HalfAsFastAsNeededShowsEveryReferenceAndIsNeverLateByASecond) {
    play(80ms, 20s);
    const Schedule schedule{0, shown[1].at - 80ms};
    for (std::size_t i = 1; i < shown.size(); ++i) {
        EXPECT_GT(*shown[i].number, *shown[i - 1].number);
        EXPECT_LT(shown[i].at - schedule.due(shown[i]), 1s) << "picture " << *shown[i].number;
    }
    // Closed groups of 50 that end with a reference: I B B P ... P P.
    for (unsigned number = 0; number <= *shown.back().number; ++number) {
        const bool is_reference = number % 50 % 3 == 0 || number % 50 == 49;
        if (is_reference) {
            EXPECT_TRUE(std::ranges::find(shown, number, &ShownPicture::number) != shown.end())
                << "picture " << number;
        }
    }
}

TEST_F(FileOnASlowMachine, AStandstillOfAFifthOfASecondCostsNoPicture) {
    sim.stall(5005ms, 200ms);
    play(4ms, 20s);
    // Late pictures follow each other twice as fast until one is due.
    EXPECT_TRUE(shows(shown, {{.last = 0, .begin = shown[0].at},
                              {.first = 1, .last = 124, .begin = shown[1].at},
                              {.first = 125, .last = 134, .begin = 5205ms, .interval = 20ms},
                              {.first = 135, .last = 499, .begin = shown[1].at + 134 * 40ms}}));
}

TEST_F(FileOnASlowMachine, AStandstillOfASecondIsMadeUpForWithinASecond) {
    sim.stall(5005ms, 1200ms);
    play(4ms, 20s);
    const Schedule schedule{1, shown[1].at};
    const auto again = begin_of_even_end(shown, schedule);
    ASSERT_NE(again, shown.end());
    EXPECT_LE(again->at, 5005ms + 1200ms + 1s);
    expect_even_end(schedule);
    // Whatever is decoded from then on is shown.
    const auto first =
        std::ranges::find_if(shown, [](const ShownPicture& picture) { return picture.at > 5005ms; });
    EXPECT_EQ(*shown.back().number - *first->number, shown.cend() - first - 1) << summary(shown);
}

TEST_F(FileOnASlowMachine, AStandstillOfFiveSecondsIsMadeUpForAtTheNextKeyPicture) {
    sim.stall(5005ms, 5s);
    play(4ms, 20s);
    const Schedule schedule{1, shown[1].at};
    const auto again = begin_of_even_end(shown, schedule);
    ASSERT_NE(again, shown.end());
    EXPECT_LE(again->at, 5005ms + 5s + 1s);
    expect_even_end(schedule);
}

} // namespace
} // namespace velmora::test
