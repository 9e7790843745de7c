// Recording, streaming a played file out, the dispatch, and the animated buttons.
#include "main_window_fixture.h"

#include <QPushButton>

namespace {

using Names = std::vector<std::string>;

class StreamingTest : public MainWindowTest {
protected:
    QImage icon_of(const char* button) { return child<QPushButton>(button)->icon().pixmap(32, 32).toImage(); }
    static QImage icon_file(const char* file) {
        return QIcon{QStringLiteral(":/new/menuebar/bitmap/") + QLatin1String(file)}.pixmap(32, 32).toImage();
    }
    void record_into(const QString& directory) {
        save_section(QStringLiteral("record"),
                     {{QStringLiteral("Path"), directory}, {QStringLiteral("Trick_mode"), 0}});
    }
};

TEST_F(StreamingTest, RecordWithNothingRunningStartsLiveViewWithRecording) {
    record_into(QStringLiteral("/tmp"));
    open_window();
    click("Record");
    EXPECT_EQ(last_call("Velmora_start")->number, 12);
    EXPECT_STREQ(std::get<record_setup_t>(last_call("Velmora_set_record_param")->record).directory_path,
                 "/tmp");
    EXPECT_EQ(m_mpCfg->p_networkCfg->is_recording, 1);
}

TEST_F(StreamingTest, RecordWithoutADirectoryStartsNothingByItself) {
    record_into(QStringLiteral("/there/is/no/such/directory"));
    open_window();
    click("Record");
    EXPECT_FALSE(last_call("Velmora_start"));
}

TEST_F(StreamingTest, RecordDuringLiveViewAndStopAgain) {
    record_into(QStringLiteral("/tmp"));
    open_window();
    open_session();
    isStream = 1;
    click("Record");
    EXPECT_EQ(call_names(), (Names{"Velmora_set_record_param", "Velmora_start"}));
    EXPECT_EQ(last_call("Velmora_start")->number, 8);
    EXPECT_EQ(std::get<record_setup_t>(last_call("Velmora_set_record_param")->record).is_trick_mode, 0);
    isRecord = 1;
    engine().forget_calls();
    click("Record");
    EXPECT_EQ(call_names(), Names{"Velmora_stop"});
    EXPECT_EQ(last_call("Velmora_stop")->number, 8);
}

TEST_F(StreamingTest, StreamsAPlayedFileOutAndStopsThat) {
    open_window();
    open_session();
    child("stream")->show();
    click("stream");
    EXPECT_TRUE(calls().empty()) << "nothing plays";
    isPlayback = 1;
    click("stream");
    EXPECT_EQ(call_names(), Names{"Velmora_start"});
    EXPECT_EQ(last_call("Velmora_start")->number, 2);
    isStreamPlayback = 1;
    engine().forget_calls();
    click("stream");
    EXPECT_EQ(call_names(), Names{"Velmora_stop"});
    EXPECT_EQ(last_call("Velmora_stop")->number, 2);
}

TEST_F(StreamingTest, SwitchesTheDispatchByWhoOwnsTheDisplay) {
    open_window();
    open_session();
    click("switch_dispatch");
    EXPECT_EQ(last_call("Velmora_switch_dispatch")->number, 1);
    active_app = PLAYBACK_APP;
    trigger("actionSwitch_Dispuch");
    EXPECT_EQ(last_call("Velmora_switch_dispatch")->number, 0);
}

TEST_F(StreamingTest, WithoutASessionTheDispatchOnlyChoosesTheNextStart) {
    open_window();
    for (const int expected : {1, 0, 1}) {
        click("switch_dispatch");
        EXPECT_EQ(active_app, expected);
    }
    active_app = OTHER_APP;
    click("switch_dispatch");
    EXPECT_EQ(active_app, 1);
    EXPECT_FALSE(last_call("Velmora_switch_dispatch"));
}

TEST_F(StreamingTest, TheStreamButtonGoesThroughFourPictures) {
    open_window();
    for (const char* file : {"stream1.png", "stream2.png", "stream3.png", "stream.png", "stream1.png"}) {
        call_slot("streamAnimate");
        EXPECT_EQ(icon_of("stream"), icon_file(file)) << file;
    }
    stream_animate = 9;
    call_slot("streamAnimate");
    EXPECT_EQ(icon_of("stream"), icon_file("stream1.png"));
    EXPECT_EQ(stream_animate, 9);
}

TEST_F(StreamingTest, TheRecordButtonBlinks) {
    open_window();
    for (const char* file : {"record2.png", "record.png", "record2.png"}) {
        call_slot("playAnimate");
        EXPECT_EQ(icon_of("Record"), icon_file(file)) << file;
    }
    EXPECT_NE(icon_file("record.png"), icon_file("record2.png"));
}

TEST_F(StreamingTest, TrickModeIsStoredAtOnce) {
    open_window();
    child<QAction>("actionTrickMode")->setChecked(true);
    trigger("actionTrickMode");
    const auto stored = [] {
        return saved_configuration()
            .value(QStringLiteral("record"))
            .toObject()
            .value(QStringLiteral("Trick_mode"));
    };
    EXPECT_EQ(stored(), QJsonValue{0});
    trigger("actionTrickMode");
    EXPECT_EQ(stored(), QJsonValue{1});
}

} // namespace
