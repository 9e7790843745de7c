// The engine session, live view and the poll.
#include "main_window_fixture.h"

#include <QFontMetrics>
#include <QLabel>
#include <QPushButton>
#include <QSlider>

#include <array>
#include <ostream>

namespace {

using Names = std::vector<std::string>;

class SessionTest : public MainWindowTest {
protected:
    bool is_on(const char* indicator) { return style(indicator) == "color:#00ff00"; }
    std::string style(const char* widget) { return child(widget)->styleSheet().toStdString(); }
};

TEST_F(SessionTest, OpensLazilyOnTheFirstActionThatNeedsIt) {
    open_window();
    EXPECT_EQ(m_VidDisp, 0U);
    EXPECT_FALSE(last_call("Velmora_open"));
    trigger("actionStartStream");
    EXPECT_EQ(m_VidDisp, 77U);
    trigger("actionStopStreaming");
    trigger("actionStartStream");
    const auto names = call_names();
    EXPECT_EQ(std::ranges::count(names, "Velmora_open"), 1);
}

TEST_F(SessionTest, TheSizeOptionGivesTheOpenFlags) {
    open_window();
    trigger("actionStartStream");
    const auto setup = std::get<velmora_setup_t>(last_call("Velmora_open")->record);
    EXPECT_EQ(setup.flags, 4);
    EXPECT_EQ(setup.self_drow, 0);
    EXPECT_EQ(setup.hwnd, 0);
    EXPECT_EQ(setup.width, 0);
    EXPECT_EQ(setup.height, 0);
    EXPECT_EQ(last_call("Velmora_register_user_overlay")->user, &window());
}

TEST_F(SessionTest, SizeFromVideoGivesFlagsOfOne) {
    open_window();
    trigger("actionSize_From_Video");
    trigger("actionStartStream");
    EXPECT_EQ(std::get<velmora_setup_t>(last_call("Velmora_open")->record).flags, 1);
}

TEST_F(SessionTest, LiveViewCallsTheEngineInOrder) {
    save_section(QStringLiteral("network"),
                 {{QStringLiteral("Port"), 5004}, {QStringLiteral("sync_delay"), 120}});
    open_window();
    engine().forget_calls();
    click("playButton");
    EXPECT_EQ(call_names(), (Names{"Velmora_open", "Velmora_register_user_overlay",
                                   "Velmora_set_display_size", "Velmora_set_data_param",
                                   "Velmora_set_streaming_param", "Velmora_stop", "Velmora_start"}));
    EXPECT_EQ(last_call("Velmora_stop")->number, 4);
    EXPECT_EQ(last_call("Velmora_start")->number, 4);
    for (const RecordedCall& call : calls()) {
        EXPECT_EQ(call.thread, std::this_thread::get_id()) << call.name;
    }
    const auto setup = std::get<streaming_setup_t>(last_call("Velmora_set_streaming_param")->record);
    EXPECT_EQ(setup.port, 5004);
    EXPECT_EQ(setup.multicast_addr, 0U);
    EXPECT_EQ(setup.protocol, Protocol_UDPTS);
    EXPECT_EQ(setup.rtsp_url, nullptr);
    EXPECT_EQ(setup.rtsp_sdp, nullptr);
    EXPECT_EQ(setup.rtsp_port, 0);
    EXPECT_EQ(setup.sync_delay_ms, 120);
    EXPECT_FALSE(shown("symbole"));
    EXPECT_FALSE(shown("app_name_lbl"));
}

TEST_F(SessionTest, DataParametersComeFromTheirSection) {
    save_section(QStringLiteral("stream_data_save"), {{QStringLiteral("IP"), QStringLiteral("10.1.2.3")},
                                                      {QStringLiteral("is_eth"), 1},
                                                      {QStringLiteral("is_file"), 0},
                                                      {QStringLiteral("File_name"), QStringLiteral("/k.bin")},
                                                      {QStringLiteral("Port"), 99}});
    open_window();
    click("playButton");
    const auto call = last_call("Velmora_set_data_param");
    const auto setup = std::get<data_setup_t>(call->record);
    EXPECT_EQ(setup.ip, 0x0A010203U);
    EXPECT_EQ(setup.is_send_by_eth, 1);
    EXPECT_EQ(setup.is_save_by_file, 0);
    EXPECT_EQ(setup.port, 99);
    EXPECT_EQ(call->texts, Names{"/k.bin"});
}

struct ProtocolCase {
    int transport;
    int rtsp_mode;
    int protocol;
};

/// As in "Transport4Mode1".
void PrintTo(const ProtocolCase& configured, std::ostream* out) {
    *out << "Transport" << configured.transport << "Mode" << configured.rtsp_mode;
}

class ProtocolTest : public SessionTest, public testing::WithParamInterface<ProtocolCase> {};

TEST_P(ProtocolTest, FollowsTheConfiguredTransport) {
    const auto [transport, rtsp_mode, protocol] = GetParam();
    save_section(QStringLiteral("network"), {{QStringLiteral("Transport"), transport},
                                             {QStringLiteral("rtsp_mode"), rtsp_mode},
                                             {QStringLiteral("rtsp_serial_port"), 8554},
                                             {QStringLiteral("rtsp_url"), QStringLiteral("10.0.0.1")},
                                             {QStringLiteral("rtsp_sdp"), QStringLiteral("live.sdp")}});
    open_window();
    click("playButton");
    const auto call = last_call("Velmora_set_streaming_param");
    const auto setup = std::get<streaming_setup_t>(call->record);
    EXPECT_EQ(setup.protocol, protocol);
    const bool is_rtsp = transport == RTSP;
    EXPECT_EQ(setup.rtsp_port, is_rtsp ? 8554 : 0);
    EXPECT_EQ(call->texts, is_rtsp ? (Names{"10.0.0.1", "live.sdp"}) : (Names{"", ""}));
}

INSTANTIATE_TEST_SUITE_P(
    All, ProtocolTest,
    testing::Values(ProtocolCase{0, 0, Protocol_PRIVATE}, ProtocolCase{1, 1, Protocol_UDPTS},
                    ProtocolCase{2, 0, Protocol_RTPUDP}, ProtocolCase{3, 0, Protocol_Split},
                    ProtocolCase{4, 0, Protocol_RTSPUDP}, ProtocolCase{4, 1, Protocol_RTSPTCP},
                    ProtocolCase{9, 0, Protocol_PRIVATE}),
    testing::PrintToStringParamName());

TEST_F(SessionTest, MulticastModeGivesTheGroup) {
    save_section(QStringLiteral("network"),
                 {{QStringLiteral("Mode"), 0}, {QStringLiteral("IP"), QStringLiteral("225.0.0.9")}});
    open_window();
    click("playButton");
    EXPECT_EQ(std::get<streaming_setup_t>(last_call("Velmora_set_streaming_param")->record).multicast_addr,
              0xE1000009U);
}

TEST_F(SessionTest, ConfiguredRecordingStartsWithLiveView) {
    save_section(QStringLiteral("network"), {{QStringLiteral("do_record"), 1}});
    save_section(QStringLiteral("record"),
                 {{QStringLiteral("Path"), QStringLiteral("/tmp")}, {QStringLiteral("Trick_mode"), 1}});
    open_window();
    click("playButton");
    const auto record = std::get<record_setup_t>(last_call("Velmora_set_record_param")->record);
    EXPECT_STREQ(record.directory_path, "/tmp");
    EXPECT_EQ(record.is_trick_mode, 1);
    EXPECT_EQ(record.file_name, nullptr);
    EXPECT_EQ(last_call("Velmora_start")->number, 12);
}

TEST_F(SessionTest, AnEngineThatCannotOpenStopsLiveView) {
    script([](TestEngineScript& answers) {
        answers.open_result = 5;
        answers.open_handle = 0;
    });
    open_window();
    click("playButton");
    EXPECT_TRUE(last_call("Velmora_open"));
    EXPECT_FALSE(last_call("Velmora_start"));
    EXPECT_TRUE(shown("symbole"));
}

TEST_F(SessionTest, ThePollRunsEverySecondFromTheStart) {
    const MainWindow just_made;
    EXPECT_TRUE(get_action_info_timer.isActive());
    EXPECT_EQ(get_action_info_timer.interval(), 1000);
}

TEST_F(SessionTest, WithoutAnEngineThePollDrivesEverythingToRest) {
    remove_engine();
    open_window();
    isStream = isRecord = isPlayback = isStreamPlayback = 1;
    poll();
    EXPECT_EQ(isStream + isRecord + isPlayback + isStreamPlayback, 0);
    EXPECT_TRUE(shown("playButton"));
    EXPECT_FALSE(shown("pause"));
    EXPECT_EQ(style("streaming_on"), "color:#888888");
    EXPECT_EQ(style("switch_dispatch"), "color:#888888");
}

TEST_F(SessionTest, ThePollAsksWithoutResettingAndKeepsTheAnswer) {
    open_window();
    open_session();
    report([](velmora_info_t& info) {
        info.action_bit = 1;
        info.active_app = PLAYBACK_APP;
        info.player_info.total_second = 90;
    });
    poll();
    const auto call = last_call("Velmora_get_info");
    EXPECT_EQ(call->handle, 77U);
    EXPECT_EQ(call->number, 0);
    EXPECT_EQ(active_app, PLAYBACK_APP);
    EXPECT_EQ(m_info.player_info.total_second, 90);
}

TEST_F(SessionTest, RecordingAndStreamingOutCountOnlyWithTheirActivity) {
    open_window();
    open_session();
    report([](velmora_info_t& info) { info.action_bit = 8 | 2; });
    poll();
    EXPECT_EQ(isRecord, 0);
    EXPECT_EQ(isStreamPlayback, 0);
    report([](velmora_info_t& info) { info.action_bit = 15; });
    poll();
    EXPECT_EQ(isRecord, 1);
    EXPECT_EQ(isStreamPlayback, 1);
}

TEST_F(SessionTest, IndicatorsFollowTheActivities) {
    open_window();
    open_session();
    report([](velmora_info_t& info) { info.action_bit = 4; });
    poll();
    EXPECT_TRUE(is_on("streaming_on"));
    EXPECT_FALSE(is_on("switch_dispatch"));
    report([](velmora_info_t& info) { info.action_bit = 1; });
    poll();
    EXPECT_FALSE(is_on("streaming_on"));
    EXPECT_TRUE(is_on("switch_dispatch"));
}

TEST_F(SessionTest, PlaybackShowsItsControls) {
    open_window();
    open_session();
    report([](velmora_info_t& info) {
        info.action_bit = 3;
        info.active_app = PLAYBACK_APP;
        info.player_info.state = PLAYRE_STATUS_PLAYING;
        info.player_info.second = 61;
        info.player_info.total_second = 3600;
    });
    poll();
    for (const char* visible : {"sof_lbl", "status_slider", "eof_lbl", "stream", "play_speed", "pause"}) {
        EXPECT_TRUE(shown(visible)) << visible;
    }
    for (const char* hidden : {"Record", "Port_lbl", "playButton"}) {
        EXPECT_FALSE(shown(hidden)) << hidden;
    }
    EXPECT_EQ(child<QLabel>("sof_lbl")->text().toStdString(), "01:01");
    EXPECT_EQ(child<QLabel>("eof_lbl")->text().toStdString(), "60:00");
    EXPECT_TRUE(StreamAnimateQtimer.isActive());
    EXPECT_EQ(StreamAnimateQtimer.interval(), 500);
    report([](velmora_info_t& info) { info.action_bit = 1; });
    poll();
    EXPECT_FALSE(StreamAnimateQtimer.isActive());
    EXPECT_TRUE(shows_icon("stream", "stream.png"));
}

TEST_F(SessionTest, LiveViewShowsItsControls) {
    save_section(QStringLiteral("network"), {{QStringLiteral("Port"), 5004}});
    open_window();
    open_session();
    report([](velmora_info_t& info) { info.action_bit = 12; });
    poll();
    for (const char* visible : {"pause", "Record", "Port_lbl"}) {
        EXPECT_TRUE(shown(visible)) << visible;
    }
    for (const char* hidden :
         {"playButton", "sof_lbl", "status_slider", "eof_lbl", "stream", "play_speed", "tag_list"}) {
        EXPECT_FALSE(shown(hidden)) << hidden;
    }
    auto* const port_label = child<QLabel>("Port_lbl");
    EXPECT_EQ(port_label->text().toStdString(), "Port:5004");
    EXPECT_EQ(port_label->width(), QFontMetrics{port_label->font()}.horizontalAdvance(port_label->text()));
    EXPECT_TRUE(playAnimateQtimer.isActive());
    EXPECT_EQ(playAnimateQtimer.interval(), 500);
    EXPECT_EQ(child<QAction>("actionStartRecord")->text().toStdString(), "Stop Record");

    call_slot("playAnimate");
    report([](velmora_info_t& info) { info.action_bit = 4; });
    poll();
    EXPECT_FALSE(playAnimateQtimer.isActive());
    EXPECT_EQ(animatStutuse, 1);
    EXPECT_TRUE(shows_icon("Record", "record.png"));
    EXPECT_EQ(child<QAction>("actionStartRecord")->text().toStdString(), "Start Record");
}

TEST_F(SessionTest, RtspShowsItsOwnPort) {
    save_section(QStringLiteral("network"),
                 {{QStringLiteral("Transport"), 4}, {QStringLiteral("rtsp_serial_port"), 8554}});
    open_window();
    open_session();
    poll();
    EXPECT_EQ(child<QLabel>("Port_lbl")->text().toStdString(), "Port:8554");
}

TEST_F(SessionTest, AnotherPictureSizeLaysTheWindowOut) {
    open_window();
    open_session();
    report([](velmora_info_t& info) {
        info.inp_width = 720;
        info.inp_height = 576;
    });
    child("playerFrame")->resize(10, 10);
    poll();
    EXPECT_EQ(child("playerFrame")->size(), QSize(10, 10)) << "720 x 576 is what the window starts with";
    report([](velmora_info_t& info) {
        info.inp_width = 1920;
        info.inp_height = 1080;
    });
    poll();
    EXPECT_EQ(width_screen, 1920);
    EXPECT_EQ(height_screen, 1080);
    EXPECT_EQ(child("playerFrame")->size(), QSize(720, 405));
}

TEST_F(SessionTest, GarbageOfAnEngineLeavesTheWindowRight) {
    open_window();
    open_session();
    report([](velmora_info_t& info) {
        std::fill_n(reinterpret_cast<unsigned char*>(&info), sizeof info, static_cast<unsigned char>(0xF3));
        info.active_app = PLAYBACK_APP;
    });
    poll();
    report([](velmora_info_t& info) {
        info.inp_width = 2147483647;
        info.inp_height = 2147483647;
        info.player_info.second = 2147483647;
        info.player_info.total_second = -2147483647;
    });
    poll();
    EXPECT_GT(child("playerFrame")->height(), 0);
    EXPECT_LE(child("playerFrame")->width(), window().width());
    EXPECT_EQ(child<QSlider>("status_slider")->minimum(), 0);
    call_slot("get_video_size");
    EXPECT_LE(child("playerFrame")->width(), window().width());
}

TEST_F(SessionTest, AnEngineThatFailsEveryCallLeavesTheWindowAlive) {
    script([](TestEngineScript& answers) {
        answers.start_result = -1;
        answers.other_results = -1;
    });
    open_window();
    for (const char* button : {"playButton", "stop", "tag_playback", "Record"}) {
        click(button);
        poll();
    }
    EXPECT_TRUE(shown("playButton"));
}

TEST_F(SessionTest, StopAllClosesAndTheNextActionOpensAgain) {
    open_window();
    open_session();
    trigger("actionStop_All");
    EXPECT_EQ(call_names(), Names{"Velmora_close"});
    EXPECT_EQ(m_VidDisp, 0U);
    trigger("actionStop_All");
    EXPECT_EQ(call_names(), Names{"Velmora_close"}) << "nothing to close";
    click("playButton");
    EXPECT_TRUE(last_call("Velmora_open"));
    EXPECT_EQ(m_VidDisp, 77U);
}

TEST_F(SessionTest, ClosingTheWindowStopsLiveViewAndKeepsTheSession) {
    open_window();
    open_session();
    close_window();
    EXPECT_EQ(call_names(), Names{"Velmora_stop"});
    EXPECT_EQ(last_call("Velmora_stop")->number, 4);
    EXPECT_EQ(m_VidDisp, 77U);
    std::array<std::uint8_t, 12> pixels{};
    EXPECT_TRUE(engine().push_picture(2, 2, 6, pixels.data())) << "a late picture finds no window";
}

} // namespace
