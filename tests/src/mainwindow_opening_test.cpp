// Openings out of the ordinary: the second path, no session, one that overtakes another, files that do not
// fit.
#include "dialog_driver.h"
#include "main_window_fixture.h"

#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSlider>

#include <cstring>

namespace {

using Names = std::vector<std::string>;

class OpeningTest : public MainWindowTest {
protected:
    ~OpeningTest() override {
        script([](TestEngineScript& answers) { answers.start_blocks = false; });
        close_window();
    }

    /// Answers the next playback setting dialog with this file.
    void answer_with(const QString& file) {
        when_dialog_opens([file](QDialog& dialog) {
            dialog.findChild<QLineEdit*>(QStringLiteral("file"))->setText(file);
            QTest::mouseClick(dialog.findChild<QPushButton*>(QStringLiteral("play")), Qt::LeftButton);
        });
    }
    /// Answers the next file chooser with this file.
    void choose(const QString& file) {
        when_dialog_opens<QFileDialog>([this, file](QFileDialog& chooser) {
            chooser_title_ = chooser.windowTitle().toStdString();
            chooser_filters_ = chooser.nameFilters();
            chooser_mode_ = chooser.fileMode();
            choose_path(chooser, file);
        });
    }
    bool wait_for_state(int state) {
        return QTest::qWaitFor([state] { return open_file_state == state; }, patience_ms);
    }
    std::ptrdiff_t count(const std::string& name) { return std::ranges::count(call_names(), name); }
    bool wait_for_starts(std::ptrdiff_t number) {
        return QTest::qWaitFor([this, number] { return count("Velmora_start") == number; }, patience_ms);
    }

    std::string chooser_title_;
    QStringList chooser_filters_;
    QFileDialog::FileMode chooser_mode_{QFileDialog::AnyFile};
};

TEST_F(OpeningTest, TheSecondPathPlaysForwardAtNormalSpeed) {
    write_file(QStringLiteral("second.ts"), "x");
    open_window();
    engine().forget_calls();
    child<QAction>("actionTrickMode")->setChecked(false);
    pback_dir = 1;
    pback_spd = 6;
    child("wait_lbl")->show();
    const QString file = QDir::current().filePath(QStringLiteral("second.ts"));
    choose(file);
    EXPECT_EQ(window().open_file_trigger(), 0);
    EXPECT_EQ(chooser_title_, "Open File");
    EXPECT_EQ(chooser_filters_, QStringList{QStringLiteral("*.ts")});
    EXPECT_EQ(chooser_mode_, QFileDialog::ExistingFiles);
    ASSERT_TRUE(wait_for_state(FINISH_OPEN));
    EXPECT_EQ(call_names(),
              (Names{"Velmora_open", "Velmora_register_user_overlay", "Velmora_set_display_size",
                     "Velmora_set_playback_param", "Velmora_start"}));
    playback_setup_t expected{};
    const QByteArray path = file.toLatin1();
    std::memcpy(expected.file_name, path.constData(), static_cast<std::size_t>(path.size()));
    expected.speed = PLAYER_SPD_NORMAL;
    const auto setup = std::get<playback_setup_t>(last_call("Velmora_set_playback_param")->record);
    EXPECT_EQ(std::memcmp(&setup, &expected, sizeof setup), 0);
    EXPECT_EQ(last_call("Velmora_start")->number, 1);
    EXPECT_EQ(pback_dir, 0);
    EXPECT_EQ(pback_spd, 1);
    EXPECT_FALSE(shown("wait_lbl"));
}

TEST_F(OpeningTest, TheSecondPathPassesTheTrickModeOn) {
    write_file(QStringLiteral("second.ts"), "x");
    open_window();
    child<QAction>("actionTrickMode")->setChecked(true);
    choose(QDir::current().filePath(QStringLiteral("second.ts")));
    EXPECT_EQ(window().open_file_trigger(), 0);
    EXPECT_EQ(std::get<playback_setup_t>(last_call("Velmora_set_playback_param")->record).is_trick_mode, 1);
    ASSERT_TRUE(wait_for_state(FINISH_OPEN));
}

TEST_F(OpeningTest, TheSecondPathGivesUpWithoutAFileOrAnEngine) {
    open_window();
    when_dialog_opens([](QDialog& dialog) { dialog.reject(); });
    EXPECT_EQ(window().open_file_trigger(), -1);
    EXPECT_FALSE(last_call("Velmora_set_playback_param"));
    trigger("actionStop_All");
    remove_engine();
    EXPECT_EQ(window().open_file_trigger(), -1) << "no dialog opens";
}

TEST_F(OpeningTest, WithoutASessionNothingButOpenReachesTheEngine) {
    script([](TestEngineScript& answers) {
        answers.open_result = 5;
        answers.open_handle = 0;
    });
    open_window();
    engine().forget_calls();
    answer_with(QStringLiteral("/video/a.ts"));
    trigger("actionOpen_File");
    ASSERT_TRUE(wait_for_state(OPEN_FAILED)) << "only -1 keeps the dialog away";
    EXPECT_EQ(call_names(), Names{"Velmora_open"});
}

TEST_F(OpeningTest, PlayFollowsItsOpeningToTheEnd) {
    open_window();
    open_session();
    active_app = PLAYBACK_APP;
    answer_with(QStringLiteral("/video/a.ts"));
    click("playButton");
    ASSERT_TRUE(QTest::qWaitFor([this] { return child("status_slider")->isEnabled(); }, patience_ms));
    EXPECT_FALSE(shown("symbole"));
    EXPECT_TRUE(shown("pause"));
}

TEST_F(OpeningTest, AnOlderOpeningThatEndsLateDoesNotSpeakForTheNewest) {
    open_window();
    script([](TestEngineScript& answers) {
        answers.start_blocks = true;
        answers.start_result = 1;
    });
    answer_with(QStringLiteral("/video/first.ts"));
    trigger("actionOpen_File");
    ASSERT_TRUE(wait_for_starts(1));
    script([](TestEngineScript& answers) { answers.start_result = 0; });
    answer_with(QStringLiteral("/video/second.ts"));
    trigger("actionOpen_File");
    ASSERT_TRUE(wait_for_starts(2));
    engine().end_oldest_start();
    EXPECT_FALSE(QTest::qWaitFor([] { return open_file_state != OPEN_FILE; }, 300));
    EXPECT_FALSE(child("status_slider")->isEnabled());
    script([](TestEngineScript& answers) { answers.start_blocks = false; });
    ASSERT_TRUE(QTest::qWaitFor([this] { return child("status_slider")->isEnabled(); }, patience_ms));
    EXPECT_EQ(open_file_state, FINISH_OPEN);
}

TEST_F(OpeningTest, TheWindowClosesWhileTheEngineStillOpens) {
    open_window();
    script([](TestEngineScript& answers) { answers.start_blocks = true; });
    answer_with(QStringLiteral("/video/a.ts"));
    trigger("actionOpen_File");
    ASSERT_TRUE(wait_for_starts(1));
    close_window();
    script([](TestEngineScript& answers) { answers.start_blocks = false; });
    EXPECT_TRUE(wait_for_state(FINISH_OPEN)) << "the task ends by itself";
}

TEST_F(OpeningTest, ARefusedPathLeavesTheRunningPlaybackAlone) {
    open_window();
    open_session();
    answer_with(QString(200, QLatin1Char('x')));
    trigger("actionOpen_File");
    EXPECT_TRUE(calls().empty()) << "neither stopped nor started";
    EXPECT_EQ(open_file_state, SELECT_FILE);
}

} // namespace
