// Recording: the button, its directory, trick mode, and the files chosen for it.
#include "dialog_driver.h"
#include "main_window_fixture.h"
#include "network_stream.h"

#include <QDir>
#include <QFileDialog>

#include <cstring>

namespace {

using Names = std::vector<std::string>;

class RecordingTest : public MainWindowTest {
protected:
    void record_into(const QString& directory) {
        save_section(QStringLiteral("record"),
                     {{QStringLiteral("Path"), directory}, {QStringLiteral("Trick_mode"), 0}});
    }
    /// Answers the network stream dialog that the next action opens by pressing one of its buttons.
    void answer_dialog(const char* button) {
        asked_ = false;
        when_dialog_opens<network_stream>([this, button](network_stream& dialog) {
            asked_ = true;
            click_on(dialog, button);
        });
    }
    void answer_dialog_with_directory(const QString& directory) {
        asked_ = false;
        when_dialog_opens<network_stream>([this, directory](network_stream& dialog) {
            asked_ = true;
            click_on(dialog, "record_grp");
            when_dialog_opens<QFileDialog>(
                [directory](QFileDialog& chooser) { choose_path(chooser, directory); });
            click_on(dialog, "record_browes");
            click_on(dialog, "playNetwork");
        });
    }
    /// What the poll found.
    void run_activities(int activities) {
        report([activities](velmora_info_t& info) { info.action_bit = activities; });
        poll();
        engine().forget_calls();
    }
    static QJsonValue stored(const char* key) {
        return saved_configuration().value(QStringLiteral("record")).toObject().value(QLatin1String(key));
    }
    std::string recorded_directory() {
        return std::get<record_setup_t>(last_call("Velmora_set_record_param")->record).directory_path;
    }

    const QString missing_ = QStringLiteral("/there/is/no/such/directory");
    bool asked_{false};
};

TEST_F(RecordingTest, WithNothingRunningStartsLiveViewAndRecordingInOneStep) {
    record_into(QStringLiteral("/tmp"));
    open_window();
    engine().forget_calls();
    click("Record");
    EXPECT_EQ(call_names(),
              (Names{"Velmora_open", "Velmora_register_user_overlay", "Velmora_set_display_size",
                     "Velmora_set_data_param", "Velmora_set_streaming_param", "Velmora_set_record_param",
                     "Velmora_stop", "Velmora_start"}));
    EXPECT_EQ(last_call("Velmora_start")->number, 12);
    EXPECT_EQ(recorded_directory(), "/tmp");
    EXPECT_EQ(m_mpCfg->p_networkCfg->is_recording, 1);
}

TEST_F(RecordingTest, WithNothingRunningAndNoDirectoryOnlyTheDialogAppears) {
    open_window();
    engine().forget_calls();
    for (const QString& directory : {missing_, QString{}}) {
        for (const char* button : {"playNetwork", "cancelNetwork"}) {
            m_mpCfg->p_recordCfg->directory_path = directory;
            answer_dialog(button);
            click("Record");
            EXPECT_TRUE(asked_) << button;
            EXPECT_TRUE(calls().empty()) << button;
            EXPECT_EQ(m_VidDisp, 0U);
            EXPECT_EQ(m_mpCfg->p_networkCfg->is_recording, 0);
            EXPECT_TRUE(remaining_dialogs().isEmpty());
        }
    }
}

TEST_F(RecordingTest, AFileIsNoDirectoryToRecordInto) {
    write_file(QStringLiteral("file"), "x");
    record_into(QDir::current().filePath(QStringLiteral("file")));
    open_window();
    answer_dialog("cancelNetwork");
    click("Record");
    EXPECT_TRUE(asked_);
}

TEST_F(RecordingTest, DuringLiveViewAndStopAgain) {
    record_into(QStringLiteral("/tmp"));
    open_window();
    open_session();
    run_activities(4);
    click("Record");
    EXPECT_EQ(call_names(), (Names{"Velmora_set_record_param", "Velmora_start"}));
    EXPECT_EQ(last_call("Velmora_start")->number, 8);
    record_setup_t expected{};
    qstrcpy(expected.directory_path, "/tmp");
    const auto setup = std::get<record_setup_t>(last_call("Velmora_set_record_param")->record);
    EXPECT_EQ(std::memcmp(&setup, &expected, sizeof setup), 0) << "everything else is zero";
    run_activities(4 | 8);
    click("Record");
    EXPECT_EQ(call_names(), Names{"Velmora_stop"});
    EXPECT_EQ(last_call("Velmora_stop")->number, 8);
}

TEST_F(RecordingTest, DuringLiveViewADirectoryIsAskedForFirst) {
    record_into(missing_);
    open_window();
    open_session();
    run_activities(4);
    answer_dialog_with_directory(QDir::currentPath());
    click("Record");
    EXPECT_TRUE(asked_);
    EXPECT_EQ(call_names(), (Names{"Velmora_set_record_param", "Velmora_start"}));
    EXPECT_EQ(recorded_directory(), QDir::currentPath().toStdString());
    EXPECT_EQ(last_call("Velmora_start")->number, 8) << "live view goes on as it is";
    EXPECT_TRUE(remaining_dialogs().isEmpty());
}

TEST_F(RecordingTest, DuringLiveViewARejectedDialogRecordsNothing) {
    record_into(missing_);
    open_window();
    open_session();
    run_activities(4);
    answer_dialog("cancelNetwork");
    click("Record");
    EXPECT_TRUE(asked_);
    EXPECT_TRUE(calls().empty());
}

TEST_F(RecordingTest, TheMenusEntryDoesWhatTheButtonDoes) {
    record_into(QStringLiteral("/tmp"));
    open_window();
    trigger("actionStartRecord");
    EXPECT_EQ(last_call("Velmora_start")->number, 12);
    run_activities(4 | 8);
    trigger("actionStartRecord");
    EXPECT_EQ(last_call("Velmora_stop")->number, 8);
}

TEST_F(RecordingTest, ARefusedRecordingShowsNothing) {
    record_into(QStringLiteral("/tmp"));
    open_window();
    open_session();
    run_activities(4);
    script([](TestEngineScript& answers) { answers.start_result = -1; });
    click("Record");
    poll();
    EXPECT_FALSE(playAnimateQtimer.isActive());
    EXPECT_EQ(child<QAction>("actionStartRecord")->text().toStdString(), "Start Record");
}

TEST_F(RecordingTest, TheAnimationFollowsThePoll) {
    open_window();
    open_session();
    run_activities(4 | 8);
    EXPECT_TRUE(playAnimateQtimer.isActive());
    EXPECT_EQ(playAnimateQtimer.interval(), 500);
    EXPECT_EQ(child<QAction>("actionStartRecord")->text().toStdString(), "Stop Record");
    EXPECT_TRUE(QTest::qWaitFor([this] { return shows_icon("Record", "record2.png"); }, patience_ms));
    run_activities(4);
    EXPECT_FALSE(playAnimateQtimer.isActive());
    EXPECT_TRUE(shows_icon("Record", "record.png"));
}

TEST_F(RecordingTest, TheButtonBlinks) {
    open_window();
    for (const char* file : {"record2.png", "record.png", "record2.png"}) {
        call_slot("playAnimate");
        EXPECT_TRUE(shows_icon("Record", file)) << file;
    }
    EXPECT_NE(picture("record.png"), picture("record2.png"));
}

TEST_F(RecordingTest, TheDirectoryIsChosenAndSavedAtOnce) {
    open_window();
    ASSERT_TRUE(QDir{}.mkdir(QStringLiteral("films")));
    const QString films = QDir::current().filePath(QStringLiteral("films"));
    when_dialog_opens<QFileDialog>([&](QFileDialog& chooser) {
        EXPECT_EQ(chooser.windowTitle().toStdString(), "Save File");
        EXPECT_EQ(chooser.directory().absolutePath().toStdString(), "/");
        EXPECT_TRUE(chooser.testOption(QFileDialog::ShowDirsOnly));
        choose_path(chooser, films);
    });
    trigger("actionDirectory");
    EXPECT_EQ(dir_path, films);
    EXPECT_EQ(stored("Path"), QJsonValue{films});
    when_dialog_opens<QFileDialog>([](QFileDialog& chooser) { cancel_chooser(chooser); });
    trigger("actionDirectory");
    EXPECT_EQ(dir_path, QString{});
    EXPECT_EQ(stored("Path"), QJsonValue{QString{}}) << "a cancelled chooser empties it";
    EXPECT_TRUE(remaining_dialogs().isEmpty());
}

TEST_F(RecordingTest, TrickModeIsStoredAtOnce) {
    open_window();
    child<QAction>("actionTrickMode")->setChecked(true);
    trigger("actionTrickMode");
    EXPECT_EQ(stored("Trick_mode"), QJsonValue{0});
    trigger("actionTrickMode");
    EXPECT_EQ(stored("Trick_mode"), QJsonValue{1});
}

TEST_F(RecordingTest, TheIndexFilesChooserChangesNothing) {
    write_file(QStringLiteral("a.ts"), "x");
    record_into(QDir::currentPath());
    open_window();
    const QJsonObject before = saved_configuration();
    engine().forget_calls();
    when_dialog_opens<QFileDialog>([](QFileDialog& chooser) {
        EXPECT_EQ(chooser.windowTitle().toStdString(), "Open File");
        EXPECT_EQ(chooser.fileMode(), QFileDialog::ExistingFiles);
        EXPECT_EQ(chooser.nameFilters(), QStringList{QStringLiteral("*.ts")});
        EXPECT_EQ(chooser.directory().absolutePath(), QDir::currentPath());
        choose_path(chooser, QDir::current().filePath(QStringLiteral("a.ts")));
    });
    call_slot("createSdxFile");
    EXPECT_TRUE(calls().empty());
    EXPECT_EQ(saved_configuration(), before);
    EXPECT_TRUE(remaining_dialogs().isEmpty());
}

} // namespace
