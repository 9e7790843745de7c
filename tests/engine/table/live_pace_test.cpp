// Live streams whose pictures come, or are shown, unevenly: each picture is seen all the same.
#include "live_under_test.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <set>
#include <thread>

namespace {

using namespace std::chrono_literals;

/// What a machine may cost that stands still for longer than it is tested here.
constexpr std::uint32_t missing_on_a_busy_machine = 2;

class LivePace : public testing::Test {
protected:
    /// Views the stream up to its last second, of which the last pictures wait for what never comes.
    /// @return pictures in front of the last one shown that were not shown
    std::uint32_t pictures_missing(const StreamRecipe& stream) {
        EXPECT_EQ(view(engine_, live_setup(port_)), 0);
        const StreamSender sender{stream_bytes(stream), send_to(port_)};
        const auto enough = static_cast<std::uint32_t>(stream.fps * (stream.duration - 1));
        EXPECT_TRUE(engine_.wait_for_info(
            [&](const velmora_info_t&) { return engine_.last_number().value_or(0) >= enough; }));
        std::set<std::uint32_t> numbers;
        for (const ReceivedPicture& picture : engine_.pictures()) {
            numbers.insert(picture.number.value_or(0));
        }
        return *numbers.rbegin() + 1 - static_cast<std::uint32_t>(numbers.size());
    }

    std::uint16_t port_{free_udp_port()};
    EngineLibrary library_;
    EngineUnderTest engine_{library_};
};

TEST_F(LivePace, KeyPicturesThatAreLongOnTheirWayCostNoOtherPicture) {
    StreamRecipe recipe = small_live_stream();
    recipe.duration = 7;
    recipe.gop = 50;
    recipe.video_options = "-x264-params ipratio=30:mbtree=0 -bufsize 1600k";
    recipe.mux_options = "-muxrate 550k"; // little more than the pictures have
    EXPECT_LE(pictures_missing(recipe), missing_on_a_busy_machine);
}

TEST_F(LivePace, AScreenThatStandsStillForAMomentShowsWhatCameMeanwhileOneAfterTheOther) {
    engine_.set_in_callback([this] {
        if (engine_.picture_count() % 25 == 20) {
            std::this_thread::sleep_for(200ms); // what is tested, not a wait
        }
    });
    EXPECT_LE(pictures_missing(small_live_stream()), missing_on_a_busy_machine);
}

TEST_F(LivePace, AScreenThatIsTooSlowShowsWhatIsLive) {
    engine_.set_in_callback([] { std::this_thread::sleep_for(60ms); }); // what is tested, not a wait
    StreamRecipe recipe = small_live_stream();
    recipe.duration = 7;
    recipe.gop = 500;   // no key picture to go on at, nor
    recipe.bframes = 0; // what can be left out
    ASSERT_EQ(view(engine_, live_setup(port_)), 0);
    const StreamSender sender{stream_bytes(recipe), send_to(port_)};
    sender.wait();
    EXPECT_GE(engine_.last_number().value_or(0), 25U * 7 - 35);
}

} // namespace
