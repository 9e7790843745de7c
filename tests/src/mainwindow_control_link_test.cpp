// The control link: what the data board is told, and when, beside what the engine is told.
#include "data_board.h"
#include "dialog_driver.h"
#include "main_window_fixture.h"

#include <algorithm>
#include <sys/resource.h>
#include <utility>

namespace {

using Events = std::vector<std::string>;
using Bytes = std::vector<int>;

const Bytes resume_bytes{0xA5, 0x2B, 0xD3, 0x02, 0x00, 0x01};
const Bytes stop_bytes{0xA5, 0x2B, 0xD2, 0x02, 0x00, 0x00};

/// How often this thread gave its processor away by itself, waiting for something.
long waits_of_this_thread() {
    rusage usage{};
    ::getrusage(RUSAGE_THREAD, &usage);
    return usage.ru_nvcsw;
}

class ControlLinkTest : public MainWindowTest {
protected:
    void SetUp() override {
        if (!board_.is_connected()) {
            GTEST_SKIP() << "no right to make a network";
        }
    }
    void open_window_with_board(const char* address = DataBoard::address) {
        save_section(QStringLiteral("board_ip"), {{QStringLiteral("IP"), QLatin1String(address)}});
        open_window();
    }
    /// What the poll found: file playback owns the display and these activities run.
    void show_playback(int activities) {
        report([activities](velmora_info_t& info) {
            info.action_bit = activities;
            info.active_app = PLAYBACK_APP;
        });
        poll();
        engine().forget_calls();
    }
    void play_in_dialog(bool streamed_out) {
        m_mpCfg->p_playbackCfg->is_stream = streamed_out ? 1 : 0;
        when_dialog_opens([](QDialog& dialog) {
            type_into(dialog, "file", QStringLiteral("/video/a.ts"));
            click_on(dialog, "play");
        });
        trigger("actionOpen_File");
        ASSERT_TRUE(QTest::qWaitFor([] { return open_file_state == FINISH_OPEN; }, patience_ms));
    }
    /// Calls of the engine and messages to the board in the order of their times.
    Events events() {
        using Event = std::pair<std::chrono::system_clock::time_point, std::string>;
        std::vector<Event> all;
        for (const RecordedCall& call : calls()) {
            all.emplace_back(call.time, call.name + ' ' + std::to_string(call.number));
        }
        for (const BoardMessage& message : board_.messages()) {
            EXPECT_EQ(message.destination, DataBoard::address);
            EXPECT_EQ(message.source, DataBoard::player_address);
            const bool known = message.bytes == resume_bytes || message.bytes == stop_bytes;
            EXPECT_TRUE(known) << testing::PrintToString(message.bytes);
            all.emplace_back(message.time, message.bytes == resume_bytes ? "board resumes" : "board stops");
        }
        std::ranges::stable_sort(all, {}, &Event::first);
        Events names;
        for (const Event& event : all) {
            names.push_back(event.second);
        }
        return names;
    }

    DataBoard board_;
};

TEST_F(ControlLinkTest, AnEmptyAddressOpensNothingAndSendsNothing) {
    open_window_with_board("");
    EXPECT_EQ(board_addr, 0U);
    EXPECT_EQ(rx_socket, 0);
    EXPECT_EQ(tx_soxket, 0);
    EXPECT_EQ(set_streaming_opertion(0), 0);
    EXPECT_EQ(set_streaming_opertion(1), 0);
    EXPECT_TRUE(board_.messages().empty());
}

TEST_F(ControlLinkTest, WithoutAConfiguredBoardNothingIsSent) {
    open_window();
    EXPECT_EQ(board_addr, 0U);
    EXPECT_EQ(set_streaming_opertion(1), 0);
    EXPECT_TRUE(board_.messages().empty());
}

TEST_F(ControlLinkTest, SendsSixBytesToTheBoardsAddress) {
    open_window_with_board();
    EXPECT_EQ(board_addr, 0x0A630002U);
    EXPECT_GT(rx_socket, 0);
    EXPECT_EQ(set_streaming_opertion(1), 6);
    EXPECT_EQ(set_streaming_opertion(0), 6);
    EXPECT_EQ(set_streaming_opertion(7), 6);
    const std::vector<BoardMessage> messages = board_.messages();
    ASSERT_EQ(messages.size(), 3U);
    EXPECT_EQ(messages[0].bytes, resume_bytes);
    EXPECT_EQ(messages[1].bytes, stop_bytes);
    EXPECT_EQ(messages[2].bytes, stop_bytes);
    for (const BoardMessage& message : messages) {
        EXPECT_EQ(message.destination, DataBoard::address);
        EXPECT_EQ(message.source, DataBoard::player_address);
    }
}

TEST_F(ControlLinkTest, AFailedSendIsReported) {
    open_window_with_board();
    const int socket = std::exchange(tx_soxket, -1);
    EXPECT_EQ(set_streaming_opertion(1), -1);
    tx_soxket = socket;
    EXPECT_TRUE(board_.messages().empty());
}

TEST_F(ControlLinkTest, TheBoardStopsBeforeAPlayedFileIsStreamedOut) {
    open_window_with_board();
    open_session();
    show_playback(1);
    click("stream");
    EXPECT_EQ(events(), (Events{"board stops", "Velmora_start 2"}));
}

TEST_F(ControlLinkTest, TheBoardResumesAfterStreamingOutHasStopped) {
    open_window_with_board();
    open_session();
    show_playback(1 | 2);
    click("stream");
    EXPECT_EQ(events(), (Events{"Velmora_stop 2", "board resumes"}));
}

TEST_F(ControlLinkTest, WithoutASessionTheBoardMayResumeButNeedNotStop) {
    open_window_with_board();
    open_session();
    show_playback(1 | 2);
    trigger("actionStop_All");
    click("stream");
    EXPECT_EQ(events(), (Events{"Velmora_close 0", "board resumes"})) << "until the next poll";
    isStreamPlayback = 0;
    click("stream");
    EXPECT_EQ(events().size(), 2U) << "nothing would take its place";
}

TEST_F(ControlLinkTest, StreamingOutWhileNothingPlaysTellsNobody) {
    open_window_with_board();
    open_session();
    show_playback(0);
    click("stream");
    EXPECT_TRUE(events().empty());
}

TEST_F(ControlLinkTest, StoppingPlaybackLetsTheBoardResume) {
    open_window_with_board();
    open_session();
    show_playback(1);
    click("stop");
    EXPECT_EQ(events(), (Events{"Velmora_stop 1", "board resumes", "Velmora_switch_dispatch 0"}));
}

TEST_F(ControlLinkTest, AFilePlayedWithStreamingStopsTheBoardBeforeItStarts) {
    open_window_with_board();
    open_session();
    play_in_dialog(true);
    EXPECT_EQ(events(), (Events{"Velmora_stop 1", "board resumes", "Velmora_set_playback_param 0",
                                "board stops", "Velmora_start 3"}));
}

TEST_F(ControlLinkTest, AFilePlayedWithoutStreamingLeavesTheBoardStreaming) {
    open_window_with_board();
    open_session();
    play_in_dialog(false);
    EXPECT_EQ(events(),
              (Events{"Velmora_stop 1", "board resumes", "Velmora_set_playback_param 0", "Velmora_start 1"}));
}

TEST_F(ControlLinkTest, LiveViewAndRecordingConcernTheBoardNot) {
    save_section(QStringLiteral("record"), {{QStringLiteral("Path"), QStringLiteral("/tmp")}});
    open_window_with_board();
    click("playButton");
    isStream = 1;
    click("Record");
    isRecord = 1;
    click("Record");
    trigger("actionStop_All");
    EXPECT_TRUE(board_.messages().empty());
}

TEST_F(ControlLinkTest, ABoardThatIsNotThereHoldsNothingUp) {
    open_window_with_board("10.99.0.77"); // nobody answers for it
    open_session();
    show_playback(1);
    constexpr int clicks = 100;
    const long waits_before = waits_of_this_thread();
    for (int i = 0; i < clicks; ++i) {
        click("stream");
    }
    EXPECT_LT(waits_of_this_thread() - waits_before, clicks / 10);
    EXPECT_EQ(calls().size(), 100U);
    EXPECT_TRUE(board_.messages().empty());
}

} // namespace
