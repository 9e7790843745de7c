// Live streams whose clock or time stamps wrap, jump, waver or are missing.
#include "live_under_test.h"
#include "stream_clock.h"
#include "stream_surgery.h"

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>

namespace {

constexpr std::int64_t ten_hours = std::int64_t{10} * 3600 * 90000;
constexpr int seconds_sent = 2;
constexpr int pictures_sent = 25 * seconds_sent;

struct TimeFault {
    std::string name;
    std::function<Bytes(const Bytes&)> edit{};
    double start{0}; ///< time stamp of the start, seconds

    friend void PrintTo(const TimeFault& fault, std::ostream* out) { *out << fault.name; }
};

class LiveTime : public testing::TestWithParam<TimeFault> {};

TEST_P(LiveTime, GoesOnWithoutAFreeze) {
    StreamRecipe recipe = small_live_stream();
    recipe.audio = "mp2";
    recipe.duration = seconds_sent;
    recipe.gop = pictures_sent; // nothing to begin with again
    recipe.start = GetParam().start;
    Bytes stream = stream_bytes(recipe);
    const double rate = static_cast<double>(stream.size()) / seconds_sent;
    if (GetParam().edit) {
        stream = GetParam().edit(stream);
    }
    SendRecipe send;
    send.target.port = free_udp_port();
    send.bytes_per_second = rate; // whatever the clock says
    const EngineLibrary library;
    EngineUnderTest engine{library};
    ASSERT_EQ(view(engine, live_setup(send.target.port)), 0);
    const StreamSender sender{stream, send};
    sender.wait();
    ASSERT_TRUE(engine.wait_for_info(
        [](const velmora_info_t& info) { return info.get_strm_info.inp_dec_frame >= pictures_sent / 2; }));
    // What the last pictures wait for never comes.
    ASSERT_TRUE(engine.wait_for_info([&](const velmora_info_t&) {
        return engine.last_number().value_or(0) >= std::uint32_t{pictures_sent - 10};
    }));
    const auto pictures = engine.pictures();
    EXPECT_GE(pictures.size(), std::size_t{pictures_sent} / 2);
    EXPECT_EQ(pictures.front().number, 0U);
    for (std::size_t i = 1; i < pictures.size(); ++i) {
        EXPECT_GT(pictures[i].number.value_or(0), pictures[i - 1].number);
        EXPECT_LT(pictures[i].number.value_or(0), *pictures[i - 1].number + 25) << "a second";
    }
    const velmora_info_t info = engine.info();
    EXPECT_EQ(info.get_strm_info.inp_dec_error, 0);
    EXPECT_EQ(info.get_strm_info.a_sample_rate, 48000);
    EXPECT_EQ(info.get_strm_info.inp_fps, 25);
}

TimeFault jump(const std::string& name, std::int64_t ticks, TimeKind kind, bool is_announced) {
    return {name, [=](const Bytes& stream) { return with_time_jump(stream, ticks, kind, is_announced); }};
}

/// The stamps wrap in the middle of the stream, the clock, which is behind them, later.
constexpr double start_before_wrap = 95443.7 - 1.4 - 0.7;

INSTANTIATE_TEST_SUITE_P(
    All, LiveTime,
    testing::Values(TimeFault{.name = "Wraps", .start = start_before_wrap},
                    jump("JumpsForward", ten_hours, TimeKind::clock_and_stamps, false),
                    jump("JumpsForwardAnnounced", ten_hours, TimeKind::clock_and_stamps, true),
                    jump("JumpsBack", -ten_hours, TimeKind::clock_and_stamps, false),
                    jump("JumpsBackAnnounced", -ten_hours, TimeKind::clock_and_stamps, true),
                    jump("ClockAloneJumps", ten_hours, TimeKind::clock, false),
                    TimeFault{.name = "WithoutClock", .edit = without_clock},
                    TimeFault{.name = "ClockApart", .edit = with_clock_apart},
                    TimeFault{
                        .name = "UnsteadyClock",
                        .edit = [](const Bytes& stream) { return with_unsteady_clock(stream, 27 * 500); }}),
    [](const auto& instance) { return instance.param.name; });

} // namespace
