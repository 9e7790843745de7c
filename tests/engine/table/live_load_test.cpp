// Live streams of a high rate while whoever shows them stands still.
#include "live_under_test.h"
#include "packet_edit.h"
#include "scratch_files.h"
#include "stderr_capture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstring>
#include <span>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;
using packet_edit::packet_size;

constexpr int view_mask = 1 << STREAMING_BIT;
constexpr int record_mask = 1 << RECORD_BIT;
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr bool is_slow_build = true; ///< it checks everything, and is asked for less
#else
constexpr bool is_slow_build = false;
#endif
constexpr double full_rate = is_slow_build ? 0.2 : 1;

Bytes null_packet() {
    Bytes packet(packet_size, 0xFF);
    std::ranges::copy(std::array<std::uint8_t, 4>{0x47, 0x1F, 0xFF, 0x10}, packet.begin());
    return packet;
}

/// Fills the stream up with null packets, evenly.
Bytes padded(const Bytes& stream, double bytes) {
    const auto packets = stream.size() / packet_size;
    const double wanted = bytes / packet_size;
    const double each = std::max(wanted / static_cast<double>(packets) - 1, 0.0);
    const Bytes filler = null_packet();
    Bytes result;
    double owed = 0;
    for (std::size_t i = 0; i < packets; ++i) {
        const auto packet = std::span{stream}.subspan(i * packet_size, packet_size);
        result.insert(result.end(), packet.begin(), packet.end());
        for (owed += each; owed >= 1; owed -= 1) {
            result.insert(result.end(), filler.begin(), filler.end());
        }
    }
    return result;
}

std::size_t first_video_packet(const Bytes& stream) {
    std::size_t at = 0;
    while (stream[at + 1] != 0x41 || stream[at + 2] != 0) {
        at += packet_size;
    }
    return at;
}

class LiveLoad : public testing::Test {
protected:
    /// Views while the overlay callback stands still for two seconds, once, until all of the stream is sent.
    void watch(const Bytes& stream, SendRecipe recipe, int seconds, int mask) {
        recipe.target.port = free_udp_port();
        engine_.set_in_callback([this] {
            if (engine_.picture_count() >= 10 && !has_stood_still_.exchange(true)) {
                std::this_thread::sleep_for(2s); // what is tested, not a wait
            }
        });
        ASSERT_EQ(view(engine_, live_setup(recipe.target.port), mask), 0);
        const StreamSender sender{stream, recipe};
        sender.wait();
        EXPECT_TRUE(engine_.wait_for_info([=, this](const velmora_info_t&) {
            return engine_.last_number().value_or(0) >= 25U * static_cast<unsigned>(seconds - 1);
        })) << "back to live";
        EXPECT_TRUE(has_stood_still_);
        EXPECT_EQ(engine_.info().get_strm_info.inp_dec_error, 0);
        for (const std::string& line : errors_.lines()) {
            EXPECT_EQ(line.find("found no room"), std::string::npos) << line;
        }
    }

    void expect_recorded_whole(const Bytes& stream, int seconds) {
        engine_.table().Velmora_set_record_param(engine_.handle(), record_setup(scratch_.path()));
        watch(stream, {}, seconds, view_mask | record_mask);
        const auto expected = std::span{stream}.subspan(first_video_packet(stream));
        const std::size_t size = 2 * packet_size + expected.size();
        EXPECT_TRUE(engine_.wait_for_info([&](const velmora_info_t& info) {
            return info.record_info.kb_size == static_cast<std::int32_t>(size / 1024);
        })) << engine_.info().record_info.kb_size
            << " of " << size / 1024 << " KiB";
        const std::filesystem::path file = engine_.info().record_info.file_name;
        engine_.table().Velmora_stop(engine_.handle(), view_mask | record_mask);
        const Bytes recorded = read_bytes(file);
        ASSERT_EQ(recorded.size(), size);
        EXPECT_TRUE(std::ranges::equal(std::span{recorded}.subspan(2 * packet_size), expected));
    }

    StderrCapture errors_;
    ScratchFolder scratch_;
    std::atomic<bool> has_stood_still_{false}; // for the callback, which goes on until the engine ends
    EngineLibrary library_;
    EngineUnderTest engine_{library_};
};

TEST_F(LiveLoad, EightyMegabitsAreRecordedWholeWhileNothingIsShown) {
    const StreamRecipe recipe = small_live_stream();
    expect_recorded_whole(padded(stream_bytes(recipe), 10e6 * full_rate * recipe.duration), recipe.duration);
}

TEST_F(LiveLoad, EightyMegabitsAreReceivedWholeForAMinute) {
    constexpr int packets = 7; // of a datagram, one of them the stream's own
    StreamRecipe recipe = small_live_stream();
    recipe.duration = is_slow_build ? 6 : 60;
    recipe.mux_options = "-muxrate " + std::to_string(std::lround(80e6 * full_rate / packets));
    SendRecipe sending;
    sending.packets_per_datagram = 1;
    for (int i = 1; i < packets; ++i) {
        const Bytes filler = null_packet();
        sending.behind.insert(sending.behind.end(), filler.begin(), filler.end());
    }
    watch(stream_bytes(recipe), sending, recipe.duration, view_mask);
}

using BusyMachine = LiveLoad;

/// Pictures of the full rate, though most of it is filler: what is tested is the way to the decoder.
TEST_F(BusyMachine, FortyMegabitsOfPicturesAreRecordedWhole) {
    StreamRecipe recipe = small_live_stream();
    recipe.duration = is_slow_build ? 4 : 20;
    recipe.bitrate = is_slow_build ? "8M" : "40M";
    recipe.video_options = "-x264-params nal-hrd=cbr:qpmin=30";
    const Bytes stream = stream_bytes(recipe);
    ASSERT_GT(static_cast<double>(stream.size()), 4.5e6 * full_rate * recipe.duration);
    std::vector<std::jthread> hogs;
    for (int i = 0; i < 2; ++i) {
        hogs.emplace_back([](const std::stop_token& stop) {
            while (!stop.stop_requested()) {
                // Busy.
            }
        });
    }
    expect_recorded_whole(stream, recipe.duration);
}

} // namespace
