// A picture goes with what it shows: it never stands for something else.
#include "dialog_driver.h"
#include "main_window_fixture.h"

#include <QLineEdit>
#include <QPushButton>

#include <vector>

namespace {

class OldPictureTest : public MainWindowTest {
protected:
    ~OldPictureTest() override {
        script([](TestEngineScript& answers) { answers.start_blocks = false; });
        close_window();
    }

    void push(int level) {
        const std::vector<std::uint8_t> pixels(48, static_cast<std::uint8_t>(level));
        ASSERT_TRUE(engine().push_picture(4, 4, 12, pixels.data()));
    }
    /// Brightness of the picture in the label, -1 without one.
    int level_shown() {
        const QImage picture = shown_picture();
        return picture.isNull() ? -1 : picture.pixelColor(0, 0).red();
    }
    /// Neither the label nor the window paints anything but black where the picture was.
    void expect_black() {
        QCoreApplication::processEvents(); // what is on its way arrives
        EXPECT_EQ(level_shown(), -1);
        const QWidget* const frame = child("playerFrame");
        const QImage area = window().grab(QRect{frame->mapTo(&window(), QPoint{}), frame->size()}).toImage();
        const QPoint beside_the_logo{area.width() / 4, area.height() / 4};
        EXPECT_EQ(area.pixelColor(beside_the_logo), QColor{Qt::black});
    }
    /// The file or the stream that has the display runs and has shown a picture; another is on its way.
    void show_running(int owner) {
        open_window();
        open_session();
        report([owner](velmora_info_t& info) {
            info.action_bit = owner == PLAYBACK_APP ? 1 : 4;
            info.active_app = owner;
            info.player_info.state = PLAYRE_STATUS_PLAYING;
            info.get_strm_info.v_codec = 27;
            info.inp_width = 720;
            info.inp_height = 576;
        });
        poll();
        push(200);
        ASSERT_TRUE(QTest::qWaitFor([this] { return level_shown() == 200; }, patience_ms));
        push(201);
    }
    void choose_file() {
        when_dialog_opens([](QDialog& dialog) {
            dialog.findChild<QLineEdit*>(QStringLiteral("file"))->setText(QStringLiteral("/a.ts"));
            click_on(dialog, "play");
        });
        trigger("actionOpen_File");
    }
    bool wait_for(int level) {
        return QTest::qWaitFor([this, level] { return level_shown() == level; }, patience_ms);
    }
};

TEST_F(OldPictureTest, GoesWhenLiveViewIsStarted) {
    show_running(PLAYBACK_APP);
    when_dialog_opens([](QDialog& dialog) { click_on(dialog, "playNetwork"); });
    trigger("actionNetwork_Stream");
    expect_black();
    EXPECT_FALSE(video()->isHidden());
    push(7);
    EXPECT_TRUE(wait_for(7)) << "the new stream is shown";
}

TEST_F(OldPictureTest, GoesWhileAFileIsOpened) {
    show_running(STREAMING_APP);
    script([](TestEngineScript& answers) { answers.start_blocks = true; });
    choose_file();
    expect_black();
    push(7);
    EXPECT_TRUE(wait_for(7));
}

TEST_F(OldPictureTest, GoesWhenTheSecondPathOpensAFile) {
    write_file(QStringLiteral("second.ts"), "x");
    show_running(STREAMING_APP);
    script([](TestEngineScript& answers) { answers.start_blocks = true; });
    when_dialog_opens<QFileDialog>([](QFileDialog& chooser) {
        choose_path(chooser, QDir::current().filePath(QStringLiteral("second.ts")));
    });
    EXPECT_EQ(window().open_file_trigger(), 0);
    expect_black();
}

TEST_F(OldPictureTest, GoesWhenAFileDoesNotOpen) {
    show_running(STREAMING_APP);
    script([](TestEngineScript& answers) {
        answers.start_blocks = true;
        answers.start_result = -1;
    });
    choose_file();
    push(9); // of whatever had the display while the file was looked at
    ASSERT_TRUE(wait_for(9));
    script([](TestEngineScript& answers) { answers.start_blocks = false; });
    EXPECT_TRUE(wait_for(-1));
    expect_black();
}

TEST_F(OldPictureTest, StaysWhenTheDialogIsCancelled) {
    show_running(PLAYBACK_APP);
    for (const auto& [action, button] :
         {std::pair{"actionOpen_File", "cancel"}, std::pair{"actionNetwork_Stream", "cancelNetwork"}}) {
        when_dialog_opens([button = button](QDialog& dialog) { click_on(dialog, button); });
        trigger(action);
        EXPECT_TRUE(wait_for(201)) << action;
    }
}

class OldPictureOfEitherTest : public OldPictureTest, public testing::WithParamInterface<APP_SRC> {};

TEST_P(OldPictureOfEitherTest, GoesWithStop) {
    show_running(GetParam());
    click("stop");
    expect_black();
}

TEST_P(OldPictureOfEitherTest, GoesWithStopAll) {
    show_running(GetParam());
    trigger("actionStop_All");
    expect_black();
    poll();
    expect_black();
}

TEST_P(OldPictureOfEitherTest, GoesWhenTheDisplayIsSwitched) {
    show_running(GetParam());
    trigger("actionSwitch_Dispuch");
    expect_black();
    push(7);
    EXPECT_TRUE(wait_for(7)) << "what the other one shows";
    click("switch_dispatch");
    expect_black();
}

TEST_P(OldPictureOfEitherTest, GoesWhenNothingRunsAnyMore) {
    show_running(GetParam());
    report([](velmora_info_t& info) { info = velmora_info_t{}; });
    poll();
    expect_black();
}

INSTANTIATE_TEST_SUITE_P(Owners, OldPictureOfEitherTest, testing::Values(STREAMING_APP, PLAYBACK_APP));

TEST_F(OldPictureTest, GoesWithPauseOfLiveView) {
    show_running(STREAMING_APP);
    click("pause");
    expect_black();
}

TEST_F(OldPictureTest, StaysWithPauseOfAFile) {
    show_running(PLAYBACK_APP);
    click("pause");
    EXPECT_TRUE(wait_for(201));
}

TEST_F(OldPictureTest, GoesWhenTheStreamHasNoVideoAnyMore) {
    show_running(STREAMING_APP);
    poll();
    EXPECT_TRUE(wait_for(201)) << "it stays while there is video";
    report([](velmora_info_t& info) { info.get_strm_info.v_codec = 0; });
    poll();
    expect_black();
    push(7); // the first one of new video
    poll();
    EXPECT_TRUE(wait_for(7));
}

TEST_F(OldPictureTest, GoesWhenTheEngineGivesTheDisplayToWhatHasNone) {
    show_running(PLAYBACK_APP);
    report([](velmora_info_t& info) {
        info.action_bit = 4;
        info.active_app = STREAMING_APP;
        info.get_strm_info.v_codec = 0;
    });
    poll();
    expect_black();
}

TEST_F(OldPictureTest, OfAnEngineThatNamesNoCodecStays) {
    show_running(STREAMING_APP);
    trigger("actionStop_All");
    report([](velmora_info_t& info) { info.get_strm_info.v_codec = 0; });
    poll();
    open_session();
    poll();
    push(7);
    ASSERT_TRUE(wait_for(7));
    poll();
    poll();
    EXPECT_EQ(level_shown(), 7);
}

TEST_F(OldPictureTest, DoesNotComeBackWithTheSizeOfTheWindow) {
    m_velmora_ext = nullptr; // the window scales the last picture by itself
    show_running(STREAMING_APP);
    click("pause");
    window().resize(600, 500);
    ASSERT_TRUE(QTest::qWaitFor([] { return !checkResize.isActive(); }, patience_ms));
    expect_black();
}

} // namespace
