// File playback: opening, the open-file task, speeds, the slider, tags, stopping.
#include "main_window_fixture.h"

#include <QCursor>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QScrollBar>
#include <QSlider>
#include <QStyle>

#include <cstring>
#include <numeric>

namespace {

using Names = std::vector<std::string>;

class FilePlaybackTest : public MainWindowTest {
protected:
    /// Types a file into the dialog that the next action opens, and plays it.
    void play_in_dialog(const QString& file) {
        when_dialog_opens([file](QDialog& dialog) {
            dialog.findChild<QLineEdit*>(QStringLiteral("file"))->insert(file); // as pasted
            QTest::mouseClick(dialog.findChild<QPushButton*>(QStringLiteral("play")), Qt::LeftButton);
        });
        trigger("actionOpen_File");
    }
    bool wait_for_state(int state) {
        return QTest::qWaitFor([state] { return open_file_state == state; }, patience_ms);
    }
    QTimer* open_timer() {
        for (QTimer* timer : window().findChildren<QTimer*>()) {
            if (timer->interval() == 200) {
                return timer;
            }
        }
        return nullptr;
    }
    playback_event_t last_event() {
        const auto call = last_call("Velmora_set_event");
        EXPECT_TRUE(call);
        return call ? std::get<playback_event_t>(call->record) : playback_event_t{};
    }
    void expect_event(int type, int sec, int dir, int speed) {
        const playback_event_t event = last_event();
        EXPECT_EQ(event.event_type, type);
        EXPECT_EQ(event.sec, sec);
        EXPECT_EQ(event.dir, dir);
        EXPECT_EQ(event.speed, speed);
    }
    QSlider* slider() { return child<QSlider>("status_slider"); }
    /// Shows the position slider of an hour-long file, ready to be clicked.
    void show_slider() {
        open_window();
        open_session();
        report([](velmora_info_t& info) {
            info.action_bit = 1;
            info.active_app = PLAYBACK_APP;
            info.player_info.state = PLAYRE_STATUS_PLAYING;
            info.player_info.second = 10;
            info.player_info.total_second = 3600;
        });
        poll();
        slider()->setEnabled(true);
        engine().forget_calls();
    }
};

TEST_F(FilePlaybackTest, TheMenuPathFillsTheRecordAndStartsTheTask) {
    save_section(QStringLiteral("playback"), {{QStringLiteral("Direction"), 1},
                                              {QStringLiteral("Speed"), 2},
                                              {QStringLiteral("IP"), QStringLiteral("192.168.0.8")},
                                              {QStringLiteral("Port"), 4000}});
    open_window();
    engine().forget_calls();
    play_in_dialog(QStringLiteral("/video/a.ts"));
    ASSERT_TRUE(wait_for_state(FINISH_OPEN));
    EXPECT_EQ(call_names(),
              (Names{"Velmora_open", "Velmora_register_user_overlay", "Velmora_set_display_size",
                     "Velmora_stop", "Velmora_set_playback_param", "Velmora_start"}));
    EXPECT_EQ(last_call("Velmora_stop")->number, 1);
    playback_setup_t expected{};
    std::strcpy(expected.file_name, "/video/a.ts");
    expected.is_trick_mode = 1;
    expected.direction = 1;
    expected.speed = 2;
    expected.ip = static_cast<std::int32_t>(0xC0A80008U);
    expected.port = 4000;
    const auto setup = std::get<playback_setup_t>(last_call("Velmora_set_playback_param")->record);
    EXPECT_EQ(std::memcmp(&setup, &expected, sizeof setup), 0) << "everything else is zero";
    EXPECT_EQ(pback_dir, 1);
    EXPECT_EQ(pback_spd, 2);
    const auto start = last_call("Velmora_start");
    EXPECT_EQ(start->number, 1);
    EXPECT_NE(start->thread, std::this_thread::get_id()) << "the main thread does not wait for the engine";
}

TEST_F(FilePlaybackTest, StreamingOutAddsItsActivity) {
    save_section(QStringLiteral("playback"), {{QStringLiteral("is_stream"), 1}});
    open_window();
    play_in_dialog(QStringLiteral("/video/a.ts"));
    ASSERT_TRUE(wait_for_state(FINISH_OPEN));
    EXPECT_EQ(last_call("Velmora_start")->number, 3);
}

TEST_F(FilePlaybackTest, TheTimerFollowsAFinishedOpening) {
    open_window();
    play_in_dialog(QStringLiteral("/video/a.ts"));
    QTimer* const timer = open_timer();
    ASSERT_NE(timer, nullptr);
    EXPECT_TRUE(timer->isActive()) << "runs once the dialog has closed";
    EXPECT_TRUE(child("wait_1")->isHidden());
    ASSERT_TRUE(QTest::qWaitFor([&] { return !timer->isActive(); }, patience_ms));
    for (const char* enabled : {"sof_lbl", "eof_lbl", "status_slider"}) {
        EXPECT_TRUE(child(enabled)->isEnabled()) << enabled;
    }
    for (const char* hidden : {"symbole", "app_name_lbl", "playButton", "animate_frame", "wait_lbl"}) {
        EXPECT_FALSE(shown(hidden)) << hidden;
    }
    EXPECT_TRUE(shown("pause"));
    EXPECT_EQ(child<QAction>("actionStartStream")->text().toStdString(), "Pause");
}

TEST_F(FilePlaybackTest, TheTimerStartsOnlyAfterTheDialogHasClosed) {
    open_window();
    bool ran_in_dialog = true;
    when_dialog_opens([&](QDialog& dialog) {
        EXPECT_EQ(open_file_state, SELECT_FILE);
        ran_in_dialog = open_timer() != nullptr;
        dialog.reject();
    });
    trigger("actionOpen_File");
    EXPECT_FALSE(ran_in_dialog);
    EXPECT_NE(open_timer(), nullptr);
}

TEST_F(FilePlaybackTest, ARefusedFileLeavesTheWindowAsItWas) {
    script([](TestEngineScript& answers) { answers.start_result = -1; });
    open_window();
    play_in_dialog(QStringLiteral("/video/broken.ts"));
    ASSERT_TRUE(wait_for_state(OPEN_FAILED));
    QTimer* const timer = open_timer();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !timer->isActive(); }, patience_ms));
    EXPECT_FALSE(child("status_slider")->isEnabled());
    EXPECT_TRUE(shown("playButton"));
    EXPECT_FALSE(shown("animate_frame"));
}

TEST_F(FilePlaybackTest, ACancelledDialogChangesNothing) {
    open_window();
    engine().forget_calls();
    when_dialog_opens([](QDialog& dialog) {
        QTest::mouseClick(dialog.findChild<QPushButton*>(QStringLiteral("cancel")), Qt::LeftButton);
    });
    trigger("actionOpen_File");
    EXPECT_EQ(open_file_state, SELECT_FILE);
    EXPECT_FALSE(last_call("Velmora_set_playback_param"));
    EXPECT_FALSE(last_call("Velmora_start"));
    EXPECT_FALSE(last_call("Velmora_stop"));
}

class PathLengthTest : public FilePlaybackTest, public testing::WithParamInterface<int> {};

TEST_P(PathLengthTest, APathThatDoesNotFitStartsNothing) {
    open_window();
    const int length = GetParam();
    const QString path = QStringLiteral("/") + QString{length - 1, QLatin1Char('a')};
    play_in_dialog(path);
    if (length < 200) {
        ASSERT_TRUE(wait_for_state(FINISH_OPEN));
        const auto setup = std::get<playback_setup_t>(last_call("Velmora_set_playback_param")->record);
        EXPECT_EQ(std::string{setup.file_name}, path.toStdString());
    } else {
        EXPECT_FALSE(last_call("Velmora_set_playback_param"));
        EXPECT_FALSE(last_call("Velmora_start"));
        EXPECT_FALSE(last_call("Velmora_stop")) << "what plays goes on";
    }
}

INSTANTIATE_TEST_SUITE_P(Lengths, PathLengthTest, testing::Values(199, 200, 201, 5000));

TEST_F(FilePlaybackTest, PathsTravelAsLatin1) {
    open_window();
    play_in_dialog(QStringLiteral("/vidéo.ts"));
    ASSERT_TRUE(wait_for_state(FINISH_OPEN));
    EXPECT_STREQ(std::get<playback_setup_t>(last_call("Velmora_set_playback_param")->record).file_name,
                 "/vid\xE9o.ts");
}

TEST_F(FilePlaybackTest, TheWindowStaysAliveWhileTheEngineOpens) {
    script([](TestEngineScript& answers) { answers.start_blocks = true; });
    open_window();
    play_in_dialog(QStringLiteral("/video/slow.ts"));
    ASSERT_TRUE(QTest::qWaitFor([&] { return last_call("Velmora_start").has_value(); }, patience_ms));
    poll();
    EXPECT_EQ(open_file_state, OPEN_FILE);
    play_in_dialog(QStringLiteral("/video/other.ts"));
    script([](TestEngineScript& answers) { answers.start_blocks = false; });
    EXPECT_TRUE(wait_for_state(FINISH_OPEN));
}

TEST_F(FilePlaybackTest, AnEngineThatCannotOpenASessionAbandonsTheOpening) {
    script([](TestEngineScript& answers) {
        answers.open_result = -1;
        answers.open_handle = 0;
    });
    open_window();
    trigger("actionOpen_File");
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
    EXPECT_FALSE(last_call("Velmora_start"));
}

TEST_F(FilePlaybackTest, PauseAndResumeKeepDirectionAndSpeed) {
    open_window();
    open_session();
    active_app = PLAYBACK_APP;
    call_slot("on_fast_playback_clicked");
    call_slot("on_forward_playback_clicked");
    EXPECT_EQ(pback_spd, PLAYER_SPD_FAST) << "Prevward keeps the speed";
    child("pause")->show();
    click("pause");
    expect_event(UPDATE_EVENT, 0, PLAYER_DIR_PREVWARD, PLAYER_SPD_PAUSE);
    EXPECT_FALSE(shown("pause"));
    EXPECT_TRUE(shown("playButton"));
    EXPECT_EQ(child<QAction>("actionStartStream")->text().toStdString(), "Start");
    m_info.player_info.state = PLAYRE_STATUS_PAUSING;
    child("symbole")->show();
    click("playButton");
    expect_event(UPDATE_EVENT, 0, PLAYER_DIR_PREVWARD, PLAYER_SPD_FAST);
    EXPECT_FALSE(shown("symbole"));
    EXPECT_FALSE(shown("app_name_lbl"));
}

TEST_F(FilePlaybackTest, SpeedButtonsSendDirectionAndSpeed) {
    show_slider();
    click("forward_playback");
    expect_event(UPDATE_EVENT, 0, 1, 1);
    EXPECT_EQ(pback_dir, 1);
    click("fast_playback");
    expect_event(UPDATE_EVENT, 0, 0, 6);
    EXPECT_EQ(pback_dir, 0);
    EXPECT_EQ(pback_spd, 6);
    click("forward_playback_2");
    expect_event(UPDATE_EVENT, 0, 0, 1);
    EXPECT_EQ(pback_spd, 1);
    EXPECT_EQ(last_call("Velmora_set_event")->handle, 77U);
}

TEST_F(FilePlaybackTest, PlayWithoutAPauseOpensTheDialog) {
    open_window();
    open_session();
    active_app = PLAYBACK_APP;
    bool opened = false;
    when_dialog_opens([&](QDialog& dialog) {
        opened = true;
        dialog.reject();
    });
    click("playButton");
    EXPECT_TRUE(opened);
}

TEST_F(FilePlaybackTest, PlayWhileLiveViewRunsDoesNothing) {
    open_window();
    open_session();
    isStream = 1;
    click("playButton");
    EXPECT_TRUE(calls().empty());
}

TEST_F(FilePlaybackTest, PauseEndsLiveView) {
    open_window();
    open_session();
    child("pause")->show();
    click("pause");
    EXPECT_EQ(call_names(), Names{"Velmora_stop"});
    EXPECT_EQ(last_call("Velmora_stop")->number, 4);
}

TEST_F(FilePlaybackTest, StopEndsTheCurrentActivityAndHidesTheVideo) {
    open_window();
    open_session();
    click("stop");
    EXPECT_EQ(call_names(), Names{"Velmora_stop"});
    EXPECT_EQ(last_call("Velmora_stop")->number, 4);
    engine().forget_calls();
    active_app = PLAYBACK_APP;
    click("stop");
    EXPECT_EQ(call_names(), (Names{"Velmora_stop", "Velmora_switch_dispatch"}));
    EXPECT_EQ(last_call("Velmora_stop")->number, 1);
    EXPECT_EQ(last_call("Velmora_switch_dispatch")->number, 0);
}

TEST_F(FilePlaybackTest, StatesColourTheEnds) {
    open_window();
    const auto style = [&](const char* label) { return child(label)->styleSheet().toStdString(); };
    const std::string red = "color: rgb(250, 0, 0);";
    const std::string white = "QLabel{color:rgb(255,255,255)};";
    window().set_playback_status(PLAYRE_STATUS_EOF, 100, 100);
    EXPECT_EQ(style("eof_lbl"), red);
    EXPECT_EQ(style("sof_lbl"), white);
    window().set_playback_status(PLAYRE_STATUS_SOF, 100, 0);
    EXPECT_EQ(style("eof_lbl"), white);
    EXPECT_EQ(style("sof_lbl"), red);
    for (const int state : {PLAYRE_STATUS_OFF, PLAYRE_STATUS_PAUSING}) {
        window().set_playback_status(state, 100, 5);
        EXPECT_TRUE(shown("playButton"));
        EXPECT_FALSE(shown("pause"));
    }
    window().set_playback_status(PLAYRE_STATUS_PLAYING, 100, 7);
    EXPECT_TRUE(shown("pause"));
    EXPECT_EQ(slider()->maximum(), 100);
    EXPECT_EQ(slider()->value(), 7);
    window().set_playback_status(PLAYRE_STATUS_PLAYING, 50, -1);
    EXPECT_EQ(slider()->maximum(), 100) << "a negative position changes nothing";
}

TEST_F(FilePlaybackTest, MinutesAreNotWrapped) {
    open_window();
    std::array<char, 16> text{};
    EXPECT_EQ(window().get_time_lbl(3600, text.data()), 0);
    EXPECT_STREQ(text.data(), "60:00");
    window().get_time_lbl(59, text.data());
    EXPECT_STREQ(text.data(), "00:59");
    window().get_time_lbl(2147483647, text.data());
    EXPECT_STREQ(text.data(), "35791394:07");
}

TEST_F(FilePlaybackTest, ValuesSetByThePollNeverSeek) {
    show_slider();
    slider()->setValue(500);
    poll();
    EXPECT_FALSE(last_call("Velmora_set_event"));
}

TEST_F(FilePlaybackTest, NothingLiesOverTheSlidersFirstSeconds) {
    show_slider();
    for (const int x : {0, 3, 6, slider()->width() - 1}) {
        const QPoint place = slider()->mapTo(&window(), QPoint{x, slider()->height() / 2});
        EXPECT_EQ(window().childAt(place), slider()) << x;
    }
}

TEST_F(FilePlaybackTest, MarksTagsByWhoOwnsTheDisplay) {
    open_window();
    open_session();
    active_app = PLAYBACK_APP;
    click("tag_playback");
    EXPECT_EQ(last_event().event_type, PLAYBACK_TAG_EVENT);
    active_app = STREAMING_APP;
    click("tag_playback");
    EXPECT_EQ(last_event().event_type, RECORD_TAG_EVENT);
}

class TagListTest : public FilePlaybackTest {
protected:
    QListWidget* list() { return child<QListWidget>("tag_list"); }
    Names entries() {
        Names texts;
        for (int i = 0; i < list()->count(); ++i) {
            texts.push_back(list()->item(i)->text().toStdString());
        }
        return texts;
    }
    void give_tags(std::vector<int> tags) {
        script([&](TestEngineScript& answers) { answers.tags = std::move(tags); });
    }
};

TEST_F(TagListTest, ListsEachSecondOnceSorted) {
    show_slider();
    give_tags({30, 5, 30, 120, 5});
    click("tagin_list");
    EXPECT_TRUE(shown("tag_list"));
    EXPECT_EQ(entries(), (Names{"5", "30", "120"}));
    EXPECT_EQ(list()->y(), 550);
    EXPECT_EQ(list()->height(), 60);
    EXPECT_EQ(list()->x(), child("tagin_list")->x() + child("play_speed")->x() + 25);
    click("tagin_list");
    EXPECT_FALSE(shown("tag_list"));
}

TEST_F(TagListTest, EveryTagOfALongListCanBeReached) {
    show_slider();
    std::vector<int> tags(40);
    std::iota(tags.begin(), tags.end(), 100);
    give_tags(tags);
    click("tagin_list");
    EXPECT_EQ(list()->y(), 520);
    EXPECT_TRUE(child("centralWidget")->rect().contains(list()->geometry()));
    list()->verticalScrollBar()->triggerAction(QScrollBar::SliderToMaximum);
    const QRect last = list()->visualItemRect(list()->item(39));
    ASSERT_TRUE(list()->viewport()->rect().contains(last.center()));
    QTest::mouseClick(list()->viewport(), Qt::LeftButton, Qt::NoModifier, last.center());
    expect_event(SEEK_EVENT, 139, 0, 0);
    click("tagin_list");
    EXPECT_EQ(list()->verticalScrollBar()->value(), 0) << "it begins with the first one again";
}

TEST_F(TagListTest, WithoutTagsItStaysHidden) {
    show_slider();
    click("tagin_list");
    EXPECT_FALSE(shown("tag_list"));
    EXPECT_EQ(std::ranges::count(call_names(), "Velmora_get_tag_by_i"), 1);
}

TEST_F(TagListTest, AsksForAtMost128) {
    show_slider();
    std::vector<int> tags(300);
    for (int i = 0; i < 300; ++i) {
        tags[static_cast<std::size_t>(i)] = i;
    }
    give_tags(tags);
    click("tagin_list");
    EXPECT_EQ(std::ranges::count(call_names(), "Velmora_get_tag_by_i"), 128);
    EXPECT_EQ(last_call("Velmora_get_tag_by_i")->number, 127);
    EXPECT_EQ(list()->count(), 128);
}

TEST_F(TagListTest, AClickedTagSeeksAndHidesTheList) {
    show_slider();
    give_tags({7, 42});
    click("tagin_list");
    const QRect second = list()->visualItemRect(list()->item(1));
    QTest::mouseClick(list()->viewport(), Qt::LeftButton, Qt::NoModifier, second.center());
    expect_event(SEEK_EVENT, 42, 0, 0);
    EXPECT_FALSE(shown("tag_list"));
}

TEST_F(FilePlaybackTest, TheOpeningAnimationRunsThroughItsDots) {
    open_window();
    child("animate_frame")->show();
    window().play_file();
    open_file_state = OPEN_FILE;
    for (int dot = 1; dot <= 6; ++dot) {
        call_slot("open_file_animate");
        EXPECT_TRUE(shown(("wait_" + std::to_string(dot)).c_str()));
    }
    EXPECT_FALSE(shown("symbole"));
    call_slot("open_file_animate");
    for (int dot = 1; dot <= 6; ++dot) {
        EXPECT_FALSE(shown(("wait_" + std::to_string(dot)).c_str()));
    }
    EXPECT_EQ(x_animate, 1);
    int emitted = 0;
    QObject::connect(&window(), &MainWindow::em_wait_animate, &window(), [&emitted] { ++emitted; });
    call_slot("animate_trigger");
    EXPECT_EQ(emitted, 1);
    EXPECT_TRUE(shown("wait_lbl"));
}

} // namespace
