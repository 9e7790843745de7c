// Live streams through the engine's table, from a sender on the loopback.
#include "live_under_test.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>

namespace {

using namespace std::chrono_literals;

constexpr int view_mask = 1 << STREAMING_BIT;

class LiveView : public testing::Test {
protected:
    std::uint16_t port_{free_udp_port()};
    EngineLibrary library_;
    EngineUnderTest engine_{library_};
};

/// The numbers of the pictures that came out, in order.
std::vector<std::uint32_t> numbers(const EngineUnderTest& engine) {
    std::vector<std::uint32_t> numbers;
    for (const ReceivedPicture& picture : engine.pictures()) {
        numbers.push_back(picture.number.value_or(9999));
    }
    return numbers;
}

/// Where the packet lies that begins the second picture's PES packet.
std::size_t begin_of_second_video_unit(const std::vector<std::uint8_t>& stream) {
    constexpr unsigned video_pid = 0x100; // as the streams are made
    int begun = 0;
    for (std::size_t at = 0; at + 188 <= stream.size(); at += 188) {
        const unsigned header = stream[at + 1] * 256U + stream[at + 2];
        constexpr unsigned unit_start = 0x4000;
        if ((header & 0x1FFFU) == video_pid && (header & unit_start) != 0 && ++begun == 2) {
            return at;
        }
    }
    return stream.size() - 188;
}

TEST_F(LiveView, ShowsEveryPictureOfAStreamFromItsFirstOneOn) {
    ASSERT_EQ(view(engine_, live_setup(port_)), 0);
    EXPECT_EQ(engine_.info().action_bit, view_mask);
    const StreamSender sender{stream_bytes(small_live_stream()), send_to(port_)};
    sender.wait();
    // What the last pictures wait for never comes: the end of a stream is not to be seen.
    constexpr int pictures_that_are_sure = 95;
    ASSERT_TRUE(engine_.wait_for_info([](const velmora_info_t& info) {
        return info.get_strm_info.inp_dec_frame >= pictures_that_are_sure;
    }));
    // On a busy machine pictures that come late to the screen are passed over.
    const auto shown = numbers(engine_);
    EXPECT_EQ(shown.front(), 0U);
    EXPECT_TRUE(std::ranges::is_sorted(shown));
    EXPECT_GE(shown.size(), 75U);
    const velmora_info_t info = engine_.info();
    EXPECT_EQ(info.get_strm_info.inp_dec_error, 0);
    EXPECT_EQ(info.get_strm_info.src_ip_addr, 0x7F000001U);
    EXPECT_EQ(info.get_strm_info.protocol, Protocol_UDPTS);
    EXPECT_EQ(info.get_strm_info.v_codec, 27);
    EXPECT_EQ(info.get_strm_info.inp_fps, 25);
    EXPECT_EQ(info.inp_width, 320);
    EXPECT_EQ(info.inp_height, 240);
    EXPECT_EQ(info.active_app, STREAMING_APP);
}

TEST_F(LiveView, EndsAtOnceAndShowsNothingAfterwards) {
    ASSERT_EQ(view(engine_, live_setup(port_)), 0);
    SendRecipe recipe = send_to(port_);
    recipe.loops = true;
    const StreamSender sender{stream_bytes(small_live_stream()), recipe};
    ASSERT_TRUE(engine_.wait_for_pictures(10));
    engine_.table().Velmora_stop(engine_.handle(), view_mask);
    EXPECT_EQ(engine_.info().action_bit, 0);
    engine_.forget_pictures();
    EXPECT_FALSE(engine_.wait_for_pictures(1, 1s));
}

TEST_F(LiveView, APortThatCannotBeOpenedIsRefused) {
    EXPECT_NE(view(engine_, live_setup(0)), 0);
    EXPECT_EQ(engine_.info().action_bit, 0);
}

TEST_F(LiveView, JoinedInTheMiddleItShowsNothingBeforeAKeyPicture) {
    const StreamRecipe recipe = small_live_stream();
    auto stream = stream_bytes(recipe);
    // Cut behind the first key picture; the tables come again several times a second.
    stream.erase(stream.begin(), stream.begin() + static_cast<std::ptrdiff_t>(stream.size() / 8 / 188 * 188));
    ASSERT_EQ(view(engine_, live_setup(port_)), 0);
    const StreamSender sender{std::move(stream), send_to(port_)};
    ASSERT_TRUE(engine_.wait_for_pictures(30));
    const auto shown = numbers(engine_);
    EXPECT_EQ(shown.front(), 25U);
    EXPECT_TRUE(std::ranges::is_sorted(shown));
}

TEST_F(LiveView, TheFirstKeyPictureShowsBeforeThosePicturesThatItsSuccessorsWaitFor) {
    auto stream = stream_bytes(small_live_stream());
    stream.resize(begin_of_second_video_unit(stream) + 188);
    ASSERT_EQ(view(engine_, live_setup(port_)), 0);
    const StreamSender sender{std::move(stream), send_to(port_)};
    ASSERT_TRUE(engine_.wait_for_pictures(1));
    EXPECT_EQ(engine_.last_number(), 0U);
}

TEST_F(LiveView, ASenderThatStopsAndBeginsAgainIsFollowed) {
    StreamRecipe other = small_live_stream("hevc");
    other.width = 352;
    other.height = 288;
    other.mux_options = "-mpegts_start_pid 0x300";
    const auto second = stream_bytes(other);
    ASSERT_EQ(view(engine_, live_setup(port_)), 0);
    {
        const StreamSender sender{stream_bytes(small_live_stream()), send_to(port_)};
        ASSERT_TRUE(engine_.wait_for_pictures(50));
    }
    std::this_thread::sleep_for(1200ms); // longer than a sender may be silent without losing its place
    engine_.forget_pictures();
    SendRecipe recipe = send_to(port_);
    recipe.loops = true;
    const StreamSender sender{second, recipe};
    ASSERT_TRUE(engine_.wait_for_info([](const velmora_info_t& info) {
        return info.inp_width == 352 && info.get_strm_info.v_codec == 173;
    }));
    EXPECT_TRUE(engine_.wait_for_pictures(50));
}

TEST_F(LiveView, ShownForTheFirstTimeItShowsThePictureThatIsLiveNow) {
    constexpr std::uint32_t first_of_file = 1000;
    StreamRecipe slow_keys = small_live_stream();
    slow_keys.duration = 20;
    slow_keys.gop = 500; // one key picture at the beginning
    const auto live_stream = stream_bytes(slow_keys);
    StreamRecipe other = small_live_stream();
    other.first = first_of_file;
    other.duration = 10;
    ASSERT_EQ(engine_.play(make_stream(other)), 0);
    ASSERT_EQ(view(engine_, live_setup(port_)), 0);
    const StreamSender sender{live_stream, send_to(port_)};
    engine_.forget_pictures();
    ASSERT_TRUE(engine_.wait_for_pictures(50));
    engine_.table().Velmora_switch_dispatch(engine_.handle(), 0);
    const auto is_live = [](std::uint32_t number) { return number < first_of_file; };
    ASSERT_TRUE(engine_.wait_for_info(
        [&](const velmora_info_t&) { return std::ranges::any_of(numbers(engine_), is_live); }));
    const auto seen = numbers(engine_);
    EXPECT_GT(*std::ranges::find_if(seen, is_live), 25U) << "two seconds of the stream are over";
}

TEST_F(LiveView, TheDisplayComesBackWithThePictureThatIsLiveNow) {
    SendRecipe recipe = send_to(port_);
    StreamRecipe slow_keys = small_live_stream();
    slow_keys.duration = 20;
    slow_keys.gop = 500; // one key picture at the beginning
    const auto live_stream = stream_bytes(slow_keys);
    StreamRecipe other = small_live_stream();
    other.first = 1000;
    other.duration = 10;
    const auto file = make_stream(other);
    ASSERT_EQ(view(engine_, live_setup(port_)), 0);
    const StreamSender sender{live_stream, recipe};
    ASSERT_TRUE(engine_.wait_for_pictures(25));
    ASSERT_EQ(engine_.play(file), 0);
    EXPECT_EQ(engine_.info().active_app, PLAYBACK_APP);
    EXPECT_EQ(engine_.info().action_bit, view_mask | 1);
    engine_.forget_pictures();
    ASSERT_TRUE(engine_.wait_for_pictures(50));
    for (const auto number : numbers(engine_)) {
        EXPECT_GE(number, 1000U);
    }
    const auto left_at = engine_.last_number();
    engine_.table().Velmora_switch_dispatch(engine_.handle(), 0);
    ASSERT_TRUE(
        engine_.wait_for_info([](const velmora_info_t& info) { return info.active_app == STREAMING_APP; }));
    engine_.forget_pictures();
    ASSERT_TRUE(engine_.wait_for_pictures(10));
    const auto live = numbers(engine_);
    EXPECT_GT(live.front(), 50U);
    EXPECT_LT(live.front(), 1000U);
    EXPECT_TRUE(std::ranges::is_sorted(live));

    engine_.table().Velmora_switch_dispatch(engine_.handle(), 1);
    ASSERT_TRUE(
        engine_.wait_for_info([](const velmora_info_t& info) { return info.active_app == PLAYBACK_APP; }));
    engine_.forget_pictures();
    ASSERT_TRUE(engine_.wait_for_pictures(5));
    // The file had paused, and nothing of it is missing.
    EXPECT_LE(numbers(engine_).front(), *left_at + 4);
    engine_.stop();
    engine_.forget_pictures();
    EXPECT_TRUE(engine_.wait_for_pictures(5));
    EXPECT_LT(numbers(engine_).back(), 1000U);
}

TEST_F(LiveView, ASilenceOfMoreThanFiveSecondsKeepsThePictureAndEndsByItself) {
    ASSERT_EQ(view(engine_, live_setup(port_)), 0);
    SendRecipe recipe = send_to(port_);
    recipe.loops = true;
    StreamSender sender{stream_bytes(small_live_stream()), recipe};
    ASSERT_TRUE(engine_.wait_for_pictures(20));
    sender.pause();
    ASSERT_TRUE(engine_.wait_for_info(
        [](const velmora_info_t& info) { return info.get_strm_info.imp_bitrate == 0; }));
    const auto last = engine_.last_number();
    std::this_thread::sleep_for(5500ms); // so long nothing comes
    const velmora_info_t info = engine_.info();
    EXPECT_EQ(info.action_bit, view_mask);
    EXPECT_EQ(info.inp_width, 320);
    EXPECT_EQ(info.get_strm_info.imp_bitrate, 0);
    EXPECT_EQ(engine_.last_number(), last);
    engine_.forget_pictures();
    sender.resume();
    ASSERT_TRUE(engine_.wait_for_pictures(10, 2s));
    EXPECT_EQ(engine_.info().get_strm_info.inp_dec_error, 0);
}

TEST_F(LiveView, WhatIsReceivedIsSentOnWhereAsked) {
    EngineUnderTest other{library_};
    const std::uint16_t second_port = free_udp_port();
    streaming_setup_t setup = live_setup(port_);
    setup.dst_ip = 0x7F000001U;
    setup.dst_port = second_port;
    ASSERT_EQ(view(other, live_setup(second_port)), 0);
    ASSERT_EQ(view(engine_, setup), 0);
    SendRecipe recipe = send_to(port_);
    recipe.loops = true;
    const StreamSender sender{stream_bytes(small_live_stream()), recipe};
    EXPECT_TRUE(other.wait_for_pictures(25));
    EXPECT_EQ(other.info().get_strm_info.inp_dec_error, 0);
}

TEST_F(LiveView, TakesTheDisplayWhenNoPictureOfTheFileIsOnItsWayAnyMore) {
    ASSERT_EQ(view(engine_, live_setup(port_)), 0);
    std::atomic<int> begun{0};
    std::atomic<int> ended{0};
    engine_.set_in_callback([&] {
        ++begun;
        std::this_thread::sleep_for(100ms);
        ++ended;
    });
    ASSERT_EQ(engine_.play(make_stream(small_live_stream())), 0);
    ASSERT_TRUE(engine_.wait_for_info([&](const velmora_info_t&) { return begun > ended; }));
    engine_.table().Velmora_switch_dispatch(engine_.handle(), 0);
    EXPECT_EQ(begun, ended);
    engine_.stop();
    EXPECT_EQ(begun, ended) << "nor does any come later";
}

} // namespace
