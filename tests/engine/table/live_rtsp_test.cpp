// Streams of an RTSP server through the engine's table: recorded, and followed when the server comes back.
#include "live_under_test.h"
#include "scratch_files.h"
#include "support/rtsp_server_process.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <optional>
#include <ostream>
#include <string>

namespace {

constexpr int view_mask = 1 << STREAMING_BIT;
constexpr int record_mask = 1 << RECORD_BIT;

struct Transport {
    std::string name;
    PROTOCOL protocol;

    friend void PrintTo(const Transport& transport, std::ostream* out) { *out << transport.name; }
};

class LiveRtsp : public testing::TestWithParam<Transport> {
protected:
    LiveRtsp() {
        engine_.table().Velmora_set_record_param(engine_.handle(), record_setup(scratch_.path()));
        serve(0);
        std::string url = server_->url();
        streaming_setup_t setup = live_setup(0, GetParam().protocol);
        setup.rtsp_url = url.data();
        started_ = view(engine_, setup, view_mask | record_mask);
    }

    /// @param port 0: any
    void serve(std::uint16_t port) {
        StreamRecipe recipe = small_live_stream();
        recipe.duration = 20;
        recipe.audio = "mp2";
        server_.emplace(rtsp_pipeline(make_stream(recipe), RtspPayload::elementary, "h264", "mp2"), "", port);
    }

    bool wait_until_recorded(int seconds) const {
        return engine_.wait_for_info(
            [&](const velmora_info_t& info) { return info.record_info.sec_size >= seconds; });
    }

    bool wait_until_played(int state) const {
        return engine_.wait_for_info(
            [&](const velmora_info_t& info) { return info.player_info.state == state; });
    }

    ScratchFolder scratch_;
    EngineLibrary library_;
    EngineUnderTest engine_{library_};
    std::optional<RtspServerProcess> server_;
    int started_{-1};
};

TEST_P(LiveRtsp, IsRecordedInAFileThatPlaysBothWays) {
    ASSERT_EQ(started_, 0);
    ASSERT_TRUE(wait_until_recorded(3));
    const std::filesystem::path file = engine_.info().record_info.file_name;
    engine_.table().Velmora_stop(engine_.handle(), view_mask | record_mask);
    engine_.forget_pictures();
    ASSERT_EQ(engine_.play(file), 0);
    ASSERT_TRUE(wait_until_played(PLAYRE_STATUS_EOF));
    EXPECT_GE(engine_.info().player_info.total_second, 3);
    EXPECT_EQ(engine_.info().get_strm_info.inp_dec_error, 0);
    EXPECT_EQ(engine_.info().get_strm_info.a_codec, 0x15000);
    const auto last = engine_.last_number();
    ASSERT_GT(last, 60U);
    engine_.set_tempo(PLAYER_DIR_PREVWARD, PLAYER_SPD_X3);
    ASSERT_TRUE(wait_until_played(PLAYRE_STATUS_SOF));
    EXPECT_EQ(engine_.last_number(), 0U) << "the first picture of the recording is the server's";
}

TEST_P(LiveRtsp, GoesOnInOneFileWhenTheServerComesBack) {
    ASSERT_EQ(started_, 0);
    ASSERT_TRUE(wait_until_recorded(2));
    const std::uint16_t port = server_->port();
    server_->kill();
    server_.reset();
    const int recorded = engine_.info().record_info.sec_size;
    engine_.forget_pictures();
    serve(port);
    ASSERT_TRUE(engine_.wait_for_pictures(25));
    ASSERT_TRUE(wait_until_recorded(recorded + 2));
    const std::filesystem::path file = engine_.info().record_info.file_name;
    engine_.table().Velmora_stop(engine_.handle(), view_mask | record_mask);
    EXPECT_EQ(std::ranges::distance(std::filesystem::directory_iterator{scratch_.path()}), 1);
    ASSERT_EQ(engine_.play(file), 0);
    EXPECT_TRUE(wait_until_played(PLAYRE_STATUS_EOF));
    EXPECT_GT(engine_.last_number(), 25U);
}

INSTANTIATE_TEST_SUITE_P(Over, LiveRtsp,
                         testing::Values(Transport{"Udp", Protocol_RTSPUDP},
                                         Transport{"Tcp", Protocol_RTSPTCP}),
                         [](const auto& instance) { return instance.param.name; });

} // namespace
