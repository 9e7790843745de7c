// Live streams whose pictures come, or are shown, unevenly: each picture is seen all the same.
#include "live_under_test.h"
#include "support/undisturbed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <set>
#include <thread>

namespace {

using namespace std::chrono_literals;

constexpr int view_mask = 1 << STREAMING_BIT;

/// Even so short that it is not taken for a disturbance a standstill may cost pictures.
constexpr std::uint32_t most_missing = 2;

class LivePace : public testing::Test {
protected:
    using Screen = std::function<void(const EngineUnderTest&)>;

    /// @param screen what each picture meets
    void expect_all_pictures(const StreamRecipe& stream, const Screen& screen = {}) {
        expect_undisturbed([&] { return missing_in_one_view(stream, screen) <= most_missing; });
    }

    /// Views the stream up to its last second, of which the last pictures wait for what never comes.
    /// @return pictures in front of the last one shown that were not shown
    std::uint32_t missing_in_one_view(const StreamRecipe& stream, const Screen& screen) {
        EngineUnderTest engine{library_};
        if (screen) {
            engine.set_in_callback([&] { screen(engine); });
        }
        EXPECT_EQ(view(engine, live_setup(port_)), 0);
        const StreamSender sender{stream_bytes(stream), send_to(port_)};
        const auto enough = static_cast<std::uint32_t>(stream.fps * (stream.duration - 1));
        EXPECT_TRUE(engine.wait_for_info(
            [&](const velmora_info_t&) { return engine.last_number().value_or(0) >= enough; }));
        engine.table().Velmora_stop(engine.handle(), view_mask);
        std::set<std::uint32_t> numbers;
        for (const ReceivedPicture& picture : engine.pictures()) {
            numbers.insert(picture.number.value_or(0));
        }
        return numbers.empty() ? enough : *numbers.rbegin() + 1 - static_cast<std::uint32_t>(numbers.size());
    }

    std::uint16_t port_{free_udp_port()};
    EngineLibrary library_;
};

TEST_F(LivePace, KeyPicturesThatAreLongOnTheirWayCostNoOtherPicture) {
    StreamRecipe recipe = small_live_stream();
    recipe.duration = 7;
    recipe.gop = 50;
    recipe.video_options = "-x264-params ipratio=30:mbtree=0 -bufsize 1600k";
    recipe.mux_options = "-muxrate 550k"; // little more than the pictures have
    expect_all_pictures(recipe);
}

TEST_F(LivePace, AScreenThatStandsStillForAMomentShowsWhatCameMeanwhileOneAfterTheOther) {
    const auto hesitating = [](const EngineUnderTest& engine) {
        if (engine.picture_count() % 25 == 20) {
            std::this_thread::sleep_for(200ms); // what is tested, not a wait
        }
    };
    expect_all_pictures(small_live_stream(), hesitating);
}

TEST_F(LivePace, AScreenThatIsTooSlowShowsWhatIsLive) {
    StreamRecipe recipe = small_live_stream();
    recipe.duration = 7;
    recipe.gop = 500;   // no key picture to go on at, nor
    recipe.bframes = 0; // what can be left out
    constexpr std::uint32_t live_at_the_end = 25 * 7 - 35;
    expect_undisturbed([&] {
        EngineUnderTest engine{library_};
        engine.set_in_callback([] { std::this_thread::sleep_for(60ms); }); // what is tested, not a wait
        EXPECT_EQ(view(engine, live_setup(port_)), 0);
        const StreamSender sender{stream_bytes(recipe), send_to(port_)};
        sender.wait();
        return engine.last_number().value_or(0) >= live_at_the_end;
    });
}

} // namespace
