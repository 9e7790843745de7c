// The position advances at the rate of the speed, both ways, with and without pictures that can be left out.
#include "engine_under_test.h"
#include "support/stream_maker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <ostream>

namespace {

using namespace std::chrono_literals;

constexpr double fps = 25;
constexpr int stream_seconds = 60;

struct Pace {
    const char* name;
    int speed;
    double rate;      ///< seconds of the stream per second
    double tolerance; ///< of the rate
};

void PrintTo(const Pace& pace, std::ostream* out) {
    *out << pace.name;
}

enum class Direction { forward, backward };
enum class Reordering { none, three_pictures };

void PrintTo(Direction direction, std::ostream* out) {
    *out << (direction == Direction::forward ? "Forward" : "Backward");
}

void PrintTo(Reordering reordering, std::ostream* out) {
    *out << (reordering == Reordering::none ? "WithoutReordering" : "WithReordering");
}

class TrickPace : public testing::TestWithParam<std::tuple<Reordering, Direction, Pace>> {
protected:
    static StreamRecipe recipe() {
        StreamRecipe recipe;
        recipe.width = 320;
        recipe.height = 240;
        recipe.duration = stream_seconds;
        recipe.gop = 50;
        recipe.bframes = std::get<Reordering>(GetParam()) == Reordering::none ? 0 : 3;
        recipe.audio = "mp2";
        return recipe;
    }
};

/// Seconds of the stream per second: the median over pairs of pictures that lie far apart, which a few that a
/// busy machine shows late do not move.
double median_rate(const std::vector<ReceivedPicture>& pictures) {
    constexpr std::chrono::duration<double> apart = 600ms;
    std::vector<double> rates;
    for (auto first = pictures.begin(); first != pictures.end(); ++first) {
        for (auto second = first + 1; second != pictures.end(); ++second) {
            const std::chrono::duration<double> time = second->when - first->when;
            if (time >= apart) {
                const double moved =
                    static_cast<double>(*second->number) - static_cast<double>(*first->number);
                rates.push_back(moved / fps / time.count());
            }
        }
    }
    if (rates.empty()) {
        return 0;
    }
    const auto middle = rates.begin() + static_cast<std::ptrdiff_t>(rates.size() / 2);
    std::ranges::nth_element(rates, middle);
    return *middle;
}

/// What came to the screen while playing went on at its pace.
std::vector<ReceivedPicture> watch(EngineUnderTest& engine, bool is_backward, int speed) {
    const int start = is_backward ? stream_seconds - 2 : 1;
    engine.pause();
    engine.seek(start);
    EXPECT_TRUE(engine.wait_for_info(
        [&](const velmora_info_t&) { return engine.last_number() == static_cast<unsigned>(start * fps); }));
    engine.set_tempo(is_backward ? PLAYER_DIR_PREVWARD : PLAYER_DIR_FORWARD, speed);
    EXPECT_TRUE(engine.wait_for_pictures(engine.picture_count() + 4)) << "the start is not yet the pace";
    engine.forget_pictures();
    constexpr auto watched = 1500ms;
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_TRUE(engine.wait_for_info([&](const velmora_info_t&) {
        const auto pictures = engine.pictures();
        return !pictures.empty() && pictures.back().when - begin >= watched;
    }));
    return engine.pictures();
}

double pictures_per_second(const std::vector<ReceivedPicture>& pictures) {
    const std::chrono::duration<double> time = pictures.back().when - pictures.front().when;
    return static_cast<double>(pictures.size() - 1) / time.count();
}

TEST_P(TrickPace, IsThatOfTheSpeed) {
    const auto [reordering, direction, pace] = GetParam();
    const bool is_backward = direction == Direction::backward;
    EngineLibrary library;
    EngineUnderTest engine{library};
    ASSERT_EQ(engine.play(make_stream(recipe()), PLAYER_SPD_PAUSE), 0);
    ASSERT_TRUE(engine.wait_for_info(
        [](const velmora_info_t& info) { return info.player_info.total_second == stream_seconds; }));

    const double wanted = is_backward ? -pace.rate : pace.rate;
    const double tolerance = pace.rate * pace.tolerance;
    const double least_shown = pace.speed == PLAYER_SPD_FAST ? 4 : fps * 0.7;
    double rate = 0;
    double shown = 0;
    // A machine that is busy with something else is given another chance.
    for (int attempt = 0; attempt < 3; ++attempt) {
        const auto pictures = watch(engine, is_backward, pace.speed);
        ASSERT_GE(pictures.size(), 2U);
        rate = median_rate(pictures);
        shown = pictures_per_second(pictures);
        if (std::abs(rate - wanted) <= tolerance && shown >= least_shown) {
            break;
        }
    }
    EXPECT_NEAR(rate, wanted, tolerance);
    EXPECT_GE(shown, least_shown);
    EXPECT_LE(shown, 34.0) << "a screen is not meant to show more";
    const velmora_info_t info = engine.info();
    EXPECT_EQ(info.player_info.speed, pace.speed);
    EXPECT_EQ(info.player_info.direction, is_backward ? PLAYER_DIR_PREVWARD : PLAYER_DIR_FORWARD);
}

std::string name_of(const testing::TestParamInfo<TrickPace::ParamType>& test) {
    const auto [reordering, direction, pace] = test.param;
    return pace.name + testing::PrintToString(direction) + testing::PrintToString(reordering);
}

INSTANTIATE_TEST_SUITE_P(
    Rates, TrickPace,
    testing::Combine(testing::Values(Reordering::none, Reordering::three_pictures),
                     testing::Values(Direction::forward, Direction::backward),
                     testing::Values(Pace{"X1", PLAYER_SPD_NORMAL, 1, 0.03},
                                     Pace{"X2", PLAYER_SPD_X2, 2, 0.03}, Pace{"X3", PLAYER_SPD_X3, 3, 0.03},
                                     Pace{"X4", PLAYER_SPD_X4, 4, 0.03}, Pace{"X5", PLAYER_SPD_X5, 5, 0.03},
                                     Pace{"Fast", PLAYER_SPD_FAST, 16, 1.0 / 16})),
    name_of);

} // namespace
