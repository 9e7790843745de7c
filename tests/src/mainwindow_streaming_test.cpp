// The live stream from its dialog, streaming a played file out, and the dispatch.
#include "dialog_driver.h"
#include "main_window_fixture.h"

namespace {

using Names = std::vector<std::string>;

class StreamingTest : public MainWindowTest {
protected:
    /// Answers the dialog that the next action opens by pressing one of its buttons.
    void answer_dialog(const char* button) {
        when_dialog_opens([button](QDialog& dialog) { click_on(dialog, button); });
    }
};

TEST_F(StreamingTest, EachAcceptedDialogStartsLiveViewAnew) {
    open_window();
    for (int times = 1; times <= 2; ++times) {
        engine().forget_calls();
        answer_dialog("playNetwork");
        trigger("actionNetwork_Stream");
        Names expected{"Velmora_set_data_param", "Velmora_set_streaming_param", "Velmora_stop",
                       "Velmora_start"};
        if (times == 1) { // the session is opened on the way
            expected.insert(expected.begin(),
                            {"Velmora_open", "Velmora_register_user_overlay", "Velmora_set_display_size"});
        }
        EXPECT_EQ(call_names(), expected);
        EXPECT_EQ(last_call("Velmora_stop")->number, 4);
        EXPECT_EQ(last_call("Velmora_start")->number, 4);
    }
}

TEST_F(StreamingTest, ARefusedLiveViewShowsOnlyAtThePoll) {
    open_window();
    script([](TestEngineScript& answers) { answers.start_result = -1; });
    answer_dialog("playNetwork");
    trigger("actionNetwork_Stream");
    poll();
    EXPECT_FALSE(child("playButton")->isHidden());
    EXPECT_TRUE(child("pause")->isHidden());
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
}

TEST_F(StreamingTest, ThePollGoesOnWhileADialogIsOpen) {
    open_window();
    open_session();
    when_dialog_opens([this](QDialog& dialog) {
        get_action_info_timer.start(10);
        EXPECT_TRUE(
            QTest::qWaitFor([this] { return last_call("Velmora_get_info").has_value(); }, patience_ms));
        get_action_info_timer.stop();
        click_on(dialog, "cancelNetwork");
    });
    trigger("actionNetwork_Stream");
    EXPECT_TRUE(last_call("Velmora_get_info"));
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
        EXPECT_TRUE(shows_icon("stream", file)) << file;
    }
    stream_animate = 9;
    call_slot("streamAnimate");
    EXPECT_TRUE(shows_icon("stream", "stream1.png"));
    EXPECT_EQ(stream_animate, 9);
}

} // namespace
