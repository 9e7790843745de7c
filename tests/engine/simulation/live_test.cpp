// A live stream on its way through networks of all kinds: which pictures come, and when.
#include "small_streams.h"
#include "support/live_sim.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

namespace velmora::test {
namespace {

using namespace std::chrono_literals;

/// Whose pictures' ends are known when they come: PES packets have their lengths.
StreamRecipe live_stream(int seconds, int bframes) {
    StreamRecipe recipe = small_stream(seconds);
    recipe.bframes = bframes;
    recipe.mux_options = "-omit_video_pes_length 0";
    return recipe;
}

SentStream sent(int seconds, int bframes) {
    return SentStream{make_stream(live_stream(seconds, bframes))};
}

/// Each arrival up to so much later, by chance, but the same each time.
Arrivals with_uniform_jitter(Arrivals arrivals, std::chrono::milliseconds most) {
    std::mt19937 random{1};
    return with_jitter(std::move(arrivals), [&](std::size_t) {
        return Milliseconds{most} * (static_cast<double>(random()) / static_cast<double>(random.max()));
    });
}

class LiveOn : public testing::Test {
protected:
    /// Lets all that was sent be shown.
    static ShownPictures watch(Arrivals arrivals, std::chrono::milliseconds sync_delay = 0ms) {
        const Milliseconds length = arrivals.back().at + Milliseconds{2s};
        LiveSim sim{std::move(arrivals), sync_delay};
        sim.run_for(std::chrono::round<SteadyClock::duration>(length));
        return sim.shown();
    }

    /// That pictures 0 to `last` came, in order and each once, on end as often as they were sent.
    static void expect_all(const ShownPictures& shown, int last, int times = 1) {
        const auto count = static_cast<std::size_t>(last + 1);
        ASSERT_EQ(shown.size(), count * static_cast<std::size_t>(times)) << summary(shown);
        for (std::size_t i = 0; i < shown.size(); ++i) {
            ASSERT_EQ(shown[i].number, i % count) << "in place " << i;
        }
    }

    struct Gaps {
        Milliseconds shortest{Milliseconds::max()};
        Milliseconds longest{0};
    };

    /// Between pictures from this one on.
    static Gaps gaps(const ShownPictures& shown, std::size_t first) {
        Gaps gaps;
        for (std::size_t i = first + 1; i < shown.size(); ++i) {
            const Milliseconds gap = shown[i].at - shown[i - 1].at;
            gaps = {std::min(gaps.shortest, gap), std::max(gaps.longest, gap)};
        }
        return gaps;
    }

    /// How much later than sent pictures were shown that are sent in the order of showing.
    static Milliseconds longest_delay(const ShownPictures& shown, const SentStream& stream) {
        Milliseconds longest{0};
        for (std::size_t i = 0; i < shown.size(); ++i) {
            longest = std::max(longest, shown[i].at - stream.pictures()[i].shown);
        }
        return longest;
    }

    static constexpr std::size_t after_a_second = 25;
    static constexpr std::size_t after_five_seconds = 125;
};

TEST_F(LiveOn, AnEvenNetworkShowsEveryPictureWhenItComes) {
    const auto shown = watch(sent(20, 0).whole_pictures());
    EXPECT_TRUE(shows(shown, {{.last = 499}}));
}

TEST_F(LiveOn, AnEvenNetworkShowsReorderedPicturesAtOneDelay) {
    const auto shown = watch(sent(20, 2).whole_pictures());
    // The first as soon as it is there; the others once those are there that they are predicted from.
    ASSERT_GE(shown.size(), 2U);
    const int last = static_cast<int>(shown.back().number.value_or(0));
    EXPECT_GE(last, 498) << "the decoder holds the last until more comes";
    EXPECT_TRUE(shows(shown, {{.last = 0}, {.first = 1, .last = last, .begin = 80ms}}));
}

TEST_F(LiveOn, AnEvenNetworkASyncDelayIsKeptExactly) {
    const auto shown = watch(sent(20, 0).whole_pictures(), 200ms);
    ASSERT_GE(shown.size(), 2U);
    EXPECT_TRUE(shows(shown, {{.last = 0}, {.first = 1, .last = 499, .begin = 240ms}}));
}

TEST_F(LiveOn, AJitteringNetworkShowsEveryPictureAndSoonEvenly) {
    constexpr auto jitter = 30ms;
    const SentStream stream = sent(20, 0);
    const auto shown = watch(with_uniform_jitter(stream.whole_pictures(), jitter));
    expect_all(shown, 499);
    EXPECT_LE(gaps(shown, 0).longest, 40ms + jitter);
    const Gaps later = gaps(shown, after_five_seconds);
    EXPECT_GE(later.shortest, 39ms);
    EXPECT_LE(later.longest, 42ms);
    EXPECT_LE(longest_delay(shown, stream), jitter + 8ms) << "hardly later than the latest";
}

TEST_F(LiveOn, AJitteringNetworkADelayAboveTheJitterHidesIt) {
    const SentStream stream = sent(20, 0);
    const auto shown = watch(with_uniform_jitter(stream.whole_pictures(), 30ms), 100ms);
    expect_all(shown, 499);
    const Gaps later = gaps(shown, after_a_second);
    EXPECT_GE(later.shortest, 38ms);
    EXPECT_LE(later.longest, 42ms);
}

TEST_F(LiveOn, ANetworkThatHoldsUpOnceASyncDelayAboveThatHidesIt) {
    const auto shown = watch(held_up(sent(20, 0).whole_pictures(), 2s, 300ms), 500ms);
    EXPECT_TRUE(shows(shown, {{.last = 0}, {.first = 1, .last = 499, .begin = 540ms}}));
}

TEST_F(LiveOn, ANetworkThatHoldsUpOnceEveryPictureIsShownAndThreeSecondsLaterOnTime) {
    constexpr std::size_t held = 30; // of the first group, whose key picture came on time
    constexpr std::size_t later = held + (300ms + 3s) / 40ms;
    const auto shown = watch(held_up(sent(20, 0).whole_pictures(), 1200ms, 300ms));
    expect_all(shown, 499);
    EXPECT_TRUE(shows({shown.begin(), shown.begin() + held + 1},
                      {{.last = held - 1}, {.first = held, .last = held, .begin = 1500ms}}));
    EXPECT_TRUE(shows({shown.begin() + later, shown.end()},
                      {{.first = later, .last = 499, .begin = later * Milliseconds{40}}}));
}

TEST_F(LiveOn, ABurstyNetworkShowsEveryPictureAndSoonEvenly) {
    constexpr auto burst = 200ms;
    const auto shown = watch(in_bursts(sent(20, 0).whole_pictures(), burst));
    expect_all(shown, 499);
    EXPECT_LE(gaps(shown, 0).longest, 50ms);
    const Gaps later = gaps(shown, after_five_seconds);
    EXPECT_GE(later.shortest, 39ms - 0.01ms);
    EXPECT_LE(later.longest, 40ms + 0.01ms);
}

/// Large key pictures take a while on a wire that the stream just fits.
TEST_F(LiveOn, ANarrowWireLargeKeyPicturesHoldNothingUpOnceSomeWereSeen) {
    const SentStream stream = sent(20, 2);
    const auto shown = watch(stream.on_wire(60e3));
    ASSERT_GE(shown.size(), 498U);
    expect_all(shown, static_cast<int>(*shown.back().number));
    const Gaps later = gaps(shown, after_five_seconds);
    EXPECT_LE(later.longest, 80ms);
}

class LiveWithDrift : public LiveOn, public testing::WithParamInterface<int> {};

TEST_P(LiveWithDrift, TenMinutesOfAClockThatIsOffLoseNothingAndAddLittleDelay) {
    const double drift = GetParam() * 1e-6;
    StreamRecipe recipe = live_stream(20, 0);
    recipe.fps = 10;
    recipe.gop = 20;
    const SentStream stream{make_stream(recipe), 30};
    const Arrivals arrivals = with_drift(stream.whole_pictures(), drift);
    const auto shown = watch(arrivals);
    expect_all(shown, 199, 30);
    Milliseconds least = Milliseconds::max();
    Milliseconds most = Milliseconds::min();
    for (std::size_t i = 0; i < shown.size(); ++i) {
        const Milliseconds delay = shown[i].at - arrivals[i].at;
        least = std::min(least, delay);
        most = std::max(most, delay);
    }
    EXPECT_GE(least, -0.05ms);
    // Large pictures are remembered for a minute, by a clock that drifts meanwhile.
    EXPECT_LE(most, 1ms + std::max(drift, 0.0) * 60s);
}

INSTANTIATE_TEST_SUITE_P(PartsPerMillion, LiveWithDrift, testing::Values(-200, 200),
                         [](const auto& test) { return test.param < 0 ? "Slow" : "Fast"; });

TEST_F(LiveOn, AMachineThatStoodStillForTwoSecondsEveryPictureIsShown) {
    LiveSim sim{sent(20, 0).whole_pictures()};
    sim.stall(8005ms, 2s);
    sim.run_for(22s);
    const ShownPictures& shown = sim.shown();
    expect_all(shown, 499);
    EXPECT_TRUE(shows({shown.begin(), shown.begin() + 201}, {{.last = 200}}));
    EXPECT_EQ(shown[201].at, 10005ms);
    EXPECT_LE(shown.back().at - *shown.back().number * Milliseconds{40}, 8ms) << "on time again";
}

TEST_F(LiveOn, ALossyNetworkWhatIsWholeStaysOnTime) {
    const SentStream stream = sent(20, 0);
    constexpr std::size_t lost = 30; // of one datagram a picture
    const auto shown = watch(with_loss(stream.whole_pictures(), [](std::size_t i) { return i == lost; }));
    ASSERT_GE(shown.size(), 490U);
    for (const ShownPicture& picture : shown) {
        if (picture.number && (*picture.number < lost || *picture.number >= 50)) {
            EXPECT_GE(picture.at - *picture.number * Milliseconds{40}, -0.05ms) << *picture.number;
            EXPECT_LE(picture.at - *picture.number * Milliseconds{40}, 41ms) << *picture.number;
        }
    }
    for (unsigned number = 50; number < 500; ++number) {
        EXPECT_EQ(std::ranges::count(shown, number, &ShownPicture::number), 1) << number;
    }
}

} // namespace
} // namespace velmora::test
