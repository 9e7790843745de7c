// What the engine says for a user while it receives and records.
#include "live_under_test.h"
#include "scratch_files.h"
#include "stderr_capture.h"
#include "support/rtsp_server_process.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace {

using namespace std::chrono_literals;

constexpr int view_mask = 1 << STREAMING_BIT;
constexpr int record_mask = 1 << RECORD_BIT;
constexpr int lasting_notice = MESSAGE_NOTICE + MESSAGE_LASTING;
constexpr int lasting_warning = MESSAGE_WARNING + MESSAGE_LASTING;
constexpr int lasting_error = MESSAGE_ERROR + MESSAGE_LASTING;

class LiveMessages : public testing::Test {
protected:
    /// Waits until the newest message is of that kind and its text begins so.
    bool is_said(int kind, const std::string& beginning) {
        const bool came = engine_.wait_for_info([&](const velmora_info_t&) {
            const velmora_message_t message = engine_.message();
            return message.kind == kind && std::string{message.text}.starts_with(beginning);
        });
        if (!came) {
            const velmora_message_t message = engine_.message();
            ADD_FAILURE() << message.number << ' ' << message.kind << ' ' << message.text;
        }
        return came;
    }

    SendRecipe endless() const {
        SendRecipe recipe = send_to(port_);
        recipe.loops = true;
        return recipe;
    }

    std::uint16_t port_{free_udp_port()};
    std::string port_text_{"UDP port " + std::to_string(port_)};
    ScratchFolder scratch_;
    EngineLibrary library_;
    EngineUnderTest engine_{library_};
};

TEST_F(LiveMessages, ThereIsNoneWithoutASessionOrBeforeOneIsDue) {
    velmora_message_t message{};
    const auto get_message = library_.extension().Velmora_get_message;
    EXPECT_NE(get_message(0, &message), 0);
    EXPECT_NE(get_message(engine_.handle() + 99, &message), 0);
    EXPECT_NE(get_message(engine_.handle(), &message), 0);
    EXPECT_NE(get_message(engine_.handle(), nullptr), 0);
}

TEST_F(LiveMessages, FollowASignalThatComesAndGoes) {
    ASSERT_EQ(view(engine_, live_setup(port_)), 0);
    ASSERT_TRUE(is_said(lasting_notice, "Waiting for data on " + port_text_));
    const auto waiting = engine_.message().number;
    StreamSender sender{stream_bytes(small_live_stream()), endless()};
    ASSERT_TRUE(is_said(MESSAGE_NONE, ""));
    ASSERT_TRUE(engine_.wait_for_info([](const velmora_info_t& info) {
        return info.get_strm_info.inp_fps > 0 && info.get_strm_info.imp_bitrate > 0;
    }));
    sender.pause();
    ASSERT_TRUE(is_said(lasting_warning, "No signal for 1 s on " + port_text_));
    const auto gone = engine_.message().number;
    EXPECT_GT(gone, waiting);
    ASSERT_TRUE(is_said(lasting_warning, "No signal for 2 s on " + port_text_));
    EXPECT_EQ(engine_.message().number, gone) << "it lasts";
    EXPECT_TRUE(engine_.wait_for_info([](const velmora_info_t& info) {
        return info.get_strm_info.inp_fps == 0 && info.get_strm_info.imp_bitrate == 0;
    })) << "the figures fall to what is true";
    sender.resume();
    ASSERT_TRUE(is_said(MESSAGE_NONE, ""));
    sender.pause();
    ASSERT_TRUE(is_said(lasting_warning, "No signal for 1 s on " + port_text_));
    engine_.table().Velmora_stop(engine_.handle(), view_mask);
    EXPECT_EQ(engine_.message().kind, MESSAGE_NONE) << "nobody waits for it any more";
}

TEST_F(LiveMessages, MarkThePictureAsOldWhereDataComesWithoutPictures) {
    ASSERT_EQ(view(engine_, live_setup(port_)), 0);
    const auto stream = stream_bytes(small_live_stream());
    std::optional<StreamSender> sender{std::in_place, stream, endless()};
    ASSERT_TRUE(engine_.wait_for_pictures(5));
    sender.reset();
    std::vector<std::uint8_t> stuffing(188 * std::size_t{700}, 0xFF);
    for (std::size_t at = 0; at < stuffing.size(); at += 188) {
        const std::array<std::uint8_t, 4> header{0x47, 0x1F, 0xFF, 0x10}; // a null packet
        std::ranges::copy(header, stuffing.begin() + static_cast<std::ptrdiff_t>(at));
    }
    SendRecipe even = endless();
    even.bytes_per_second = 50'000;
    sender.emplace(stuffing, even);
    ASSERT_TRUE(is_said(lasting_warning, "The picture is 1 s old"));
    sender.emplace(stream, endless());
    EXPECT_TRUE(is_said(MESSAGE_NONE, ""));
}

TEST_F(LiveMessages, SayThatAnotherProgramHasThePort) {
    EngineUnderTest other{library_};
    ASSERT_EQ(view(other, live_setup(port_)), 0);
    EXPECT_NE(view(engine_, live_setup(port_)), 0);
    EXPECT_EQ(engine_.info().action_bit, 0);
    EXPECT_TRUE(
        is_said(MESSAGE_ERROR, "Nothing can be received: " + port_text_ + " is in use by another program"));
    const StreamSender sender{stream_bytes(small_live_stream()), endless()};
    EXPECT_TRUE(other.wait_for_pictures(5)) << "the first one has lost nothing";
}

TEST_F(LiveMessages, SayOnceThatNothingIsReceivedWhereItWasToBeRecorded) {
    engine_.table().Velmora_set_record_param(engine_.handle(), record_setup(scratch_.path()));
    EXPECT_NE(view(engine_, live_setup(0), view_mask | record_mask), 0);
    EXPECT_EQ(engine_.message().number, 1U);
    EXPECT_TRUE(std::filesystem::is_empty(scratch_.path()));
}

TEST_F(LiveMessages, SayThatAGroupIsNone) {
    streaming_setup_t setup = live_setup(port_);
    setup.multicast_addr = 0xC0A80105;
    EXPECT_NE(view(engine_, setup), 0);
    EXPECT_TRUE(is_said(MESSAGE_ERROR, "Nothing can be received: 192.168.1.5 is no multicast group"));
    setup.multicast_addr = 0xFFFFFFFF; // what text that is no address becomes
    EXPECT_NE(view(engine_, setup), 0);
    EXPECT_TRUE(is_said(MESSAGE_ERROR, "Nothing can be received: 255.255.255.255 is no"));
}

TEST_F(LiveMessages, SayThatDataGoesToNoAddress) {
    data_setup_t setup{};
    setup.is_send_by_eth = 1;
    setup.ip = 0xFFFFFFFF; // what text that is no address becomes
    setup.port = port_;
    engine_.table().Velmora_set_data_param(engine_.handle(), setup);
    EXPECT_TRUE(is_said(MESSAGE_ERROR, "Data is not sent"));
}

TEST_F(LiveMessages, SayWhereARecordingBeginsAndEnds) {
    engine_.table().Velmora_set_record_param(engine_.handle(), record_setup(scratch_.path()));
    const StreamSender sender{stream_bytes(small_live_stream()), endless()};
    ASSERT_EQ(view(engine_, live_setup(port_), view_mask | record_mask), 0);
    ASSERT_TRUE(is_said(MESSAGE_NOTICE, "Recording to " + scratch_.path().string()));
    engine_.table().Velmora_stop(engine_.handle(), record_mask);
    EXPECT_TRUE(is_said(MESSAGE_NOTICE, "The recording ended: " + scratch_.path().string()));
}

TEST_F(LiveMessages, SayWhyARecordingCannotBegin) {
    engine_.table().Velmora_set_record_param(engine_.handle(), record_setup(scratch_.path() / "missing"));
    ASSERT_EQ(view(engine_, live_setup(port_), view_mask | record_mask), 0) << "it is viewed";
    const std::string why =
        "Nothing is recorded: there is no folder " + (scratch_.path() / "missing").string();
    EXPECT_EQ(engine_.message().text, why);
    EXPECT_EQ(engine_.message().kind, MESSAGE_ERROR);
}

TEST_F(LiveMessages, SayWhyARecordingEnded) {
    const auto folder = scratch_.path() / "folder";
    std::filesystem::create_directory(folder);
    engine_.table().Velmora_set_record_param(engine_.handle(), record_setup(folder));
    const StreamSender sender{stream_bytes(small_live_stream()), endless()};
    ASSERT_EQ(view(engine_, live_setup(port_), view_mask | record_mask), 0);
    ASSERT_TRUE(
        engine_.wait_for_info([](const velmora_info_t& info) { return info.record_info.kb_size > 0; }));
    std::filesystem::remove_all(folder);
    EXPECT_TRUE(is_said(MESSAGE_ERROR, "The recording ended: " + folder.string()));
    EXPECT_EQ(engine_.info().action_bit, view_mask);
}

class RtspMessages : public LiveMessages {
protected:
    void view_url(std::string url) {
        streaming_setup_t setup = live_setup(0, Protocol_RTSPTCP);
        setup.rtsp_url = url.data();
        ASSERT_EQ(view(engine_, setup), 0);
    }
};

TEST_F(RtspMessages, SayThatNobodyListensAndOneLineOfIt) {
    const StderrCapture errors;
    const std::string url = "rtsp://127.0.0.1:" + std::to_string(free_udp_port()) + "/live";
    view_url(url);
    EXPECT_TRUE(is_said(lasting_error, url + ": the server refuses the connection"));
    engine_.table().Velmora_stop(engine_.handle(), view_mask);
    const auto lines = errors.lines();
    ASSERT_FALSE(lines.empty());
    EXPECT_TRUE(std::ranges::all_of(lines, [&](const std::string& line) {
        return line.starts_with("velmora: live: " + url + ": the server refuses the connection");
    })) << lines.front();
}

TEST_F(RtspMessages, SayThatThereIsNoSuchStream) {
    const RtspServerProcess server{
        rtsp_pipeline(make_stream(small_live_stream()), RtspPayload::elementary, "h264", "none"), "", 0};
    const std::string url = server.url() + "/missing";
    view_url(url);
    EXPECT_TRUE(is_said(lasting_error, url + ": the server knows no such stream"));
}

TEST_F(RtspMessages, SayThatAHostIsNotKnown) {
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "the C library's own thread is not known to the sanitizer";
#endif
    view_url("rtsp://no-such-host.invalid/live");
    EXPECT_TRUE(is_said(lasting_error, "rtsp://no-such-host.invalid/live: the host is not known"));
}

} // namespace
