// Construction of the main window: its tree, its wiring, its first look.
#include "main_window_fixture.h"

#include <QFrame>
#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QSlider>

namespace {

using Names = std::vector<std::string>;

Names names_of(const QList<QAction*>& actions) {
    Names names;
    for (const QAction* action : actions) {
        names.push_back(action->isSeparator() ? "-" : action->objectName().toStdString());
    }
    return names;
}

TEST_F(MainWindowTest, MenusHoldTheirEntriesInOrder) {
    open_window();
    const auto menus = child<QMenuBar>("menuBar")->actions();
    Names titles;
    for (const QAction* menu : menus) {
        titles.push_back(menu->text().toStdString());
    }
    EXPECT_EQ(titles, (Names{"Media", "Tools", "Help"}));
    EXPECT_EQ(names_of(child<QMenu>("menuMedia")->actions()),
              (Names{"actionOpen_File", "actionNetwork_Stream", "actionData", "actionSwitch_Dispuch",
                     "actionStop_All"}));
    EXPECT_EQ(names_of(child<QMenu>("menuTools")->actions()), (Names{"actionStatistic", "-"}));
    EXPECT_EQ(names_of(child<QMenu>("menuHelp")->actions()), (Names{"actionHelp", "actionAbuat"}));
}

TEST_F(MainWindowTest, ActionsOutsideTheMenusExistAndAreWired) {
    open_window();
    for (const char* name :
         {"actionOpen_Network_Stream", "actionDirectory", "actionStartRecord", "actionStop", "actionDebug",
          "actionSize_From_Window", "actionSize_From_Video", "actionStartStream", "actionStopStreaming",
          "actionOpen_Tag_List", "actionPause", "actionTrickMode"}) {
        EXPECT_TRUE(child<QAction>(name)->shortcut().isEmpty()) << name;
    }
    trigger("actionSize_From_Video");
    EXPECT_EQ(option_size, 0);
    EXPECT_TRUE(child<QAction>("actionSize_From_Video")->isChecked());
    EXPECT_FALSE(child<QAction>("actionSize_From_Window")->isChecked());
    trigger("actionSize_From_Window");
    EXPECT_EQ(option_size, 2);
    EXPECT_TRUE(child<QAction>("actionSize_From_Window")->isChecked());
    EXPECT_FALSE(child<QAction>("actionSize_From_Video")->isChecked());
    child<QAction>("actionTrickMode")->setChecked(false);
    trigger("actionTrickMode");
    EXPECT_EQ(
        saved_configuration().value(QStringLiteral("record")).toObject().value(QStringLiteral("Trick_mode")),
        QJsonValue{1});
    trigger("actionStartStream");
    EXPECT_TRUE(last_call("Velmora_start"));
    trigger("actionStopStreaming");
    EXPECT_TRUE(last_call("Velmora_stop"));
}

TEST_F(MainWindowTest, TextsAndToolTipsAreTheSystemsOwn) {
    open_window();
    EXPECT_EQ(window().windowTitle().toStdString(), "Zandor Player");
    EXPECT_EQ(window().objectName().toStdString(), "MainWindow");
    EXPECT_TRUE(window().acceptDrops());
    const std::vector<std::pair<const char*, const char*>> tips{{"Record", "Record"},
                                                                {"stop", "Stop"},
                                                                {"pause", "Pause"},
                                                                {"playButton", "Play"},
                                                                {"tag_playback", "Taggin"},
                                                                {"volume_off_btn", "Unmute"},
                                                                {"volume_btn", "Mute"},
                                                                {"forward_playback", "Prevward"},
                                                                {"forward_playback_2", "Normal"},
                                                                {"fast_playback", "Fast"},
                                                                {"tagin_list", "Tagin list"},
                                                                {"pinBtn", "Pin window"},
                                                                {"unpinBtn", "Unpin window"},
                                                                {"outBtn", "Show the taskbar"},
                                                                {"inBtn", "Hide the taskbar"}};
    for (const auto& [name, tip] : tips) {
        EXPECT_EQ(child(name)->toolTip().toStdString(), tip) << name;
    }
    EXPECT_EQ(child<QLabel>("label")->text().toStdString(), "Prepreing file..");
    EXPECT_EQ(child<QPushButton>("switch_dispatch")->text().toStdString(), "Playback ");
    EXPECT_EQ(child<QLabel>("streaming_on")->text().toStdString(), "Stream");
    EXPECT_EQ(child<QLabel>("sof_lbl")->text().toStdString(), "--:--");
    EXPECT_EQ(child<QLabel>("eof_lbl")->text().toStdString(), "--:--");
    EXPECT_EQ(child<QLabel>("Port_lbl")->text().toStdString(), "Port : 1234");
    EXPECT_EQ(child<QLabel>("app_name_lbl")->text().toStdString(), "Zandor Player");
}

TEST_F(MainWindowTest, EveryButtonHasItsPicture) {
    open_window();
    for (const char* name : {"Record", "stop", "pause", "playButton", "tag_playback", "stream",
                             "volume_off_btn", "volume_btn", "forward_playback", "forward_playback_2",
                             "fast_playback", "tagin_list", "pinBtn", "unpinBtn", "inBtn", "outBtn"}) {
        EXPECT_FALSE(child<QPushButton>(name)->icon().isNull()) << name;
        EXPECT_TRUE(child<QPushButton>(name)->isFlat()) << name;
    }
    EXPECT_FALSE(window().windowIcon().isNull());
}

TEST_F(MainWindowTest, StartsWithItsFirstLook) {
    open_window();
    for (const char* hidden :
         {"pause", "tag_list", "animate_frame", "stream", "unpinBtn", "outBtn", "play_speed", "dll_msg"}) {
        const auto* const widget = window().findChild<QWidget*>(QLatin1String(hidden));
        if (widget != nullptr) {
            EXPECT_TRUE(widget->isHidden()) << hidden;
        }
    }
    for (const char* visible : {"playButton", "Record", "pinBtn", "inBtn", "Port_lbl", "symbole",
                                "app_name_lbl", "grayFrm", "control", "action_group"}) {
        EXPECT_TRUE(shown(visible)) << visible;
    }
    EXPECT_FALSE(child("sof_lbl")->isEnabled());
    EXPECT_FALSE(child("eof_lbl")->isEnabled());
    EXPECT_FALSE(child("status_slider")->isEnabled());
    EXPECT_TRUE(child("Record")->isEnabled());
    EXPECT_TRUE(child<QAction>("actionStartStream")->isEnabled());
    EXPECT_TRUE(child<QAction>("actionTrickMode")->isChecked()) << "the record section's default";
}

TEST_F(MainWindowTest, OfPairsThatShareAPlaceOnlyOneIsShown) {
    open_window();
    const std::vector<std::pair<const char*, const char*>> pairs{{"playButton", "pause"},
                                                                 {"Record", "stream"},
                                                                 {"volume_btn", "volume_off_btn"},
                                                                 {"pinBtn", "unpinBtn"},
                                                                 {"inBtn", "outBtn"}};
    const auto expect_one_of_each = [&](const char* when) {
        for (const auto& [one, other] : pairs) {
            EXPECT_NE(shown(one), shown(other)) << one << '/' << other << ' ' << when;
        }
    };
    expect_one_of_each("at the start");
    click("inBtn");
    expect_one_of_each("with the bar hidden");
    click("outBtn");
    expect_one_of_each("with the bar shown again");
    click("volume_btn");
    report([](velmora_info_t& info) {
        info.active_app = PLAYBACK_APP;
        info.action_bit = 1;
        info.player_info.state = PLAYRE_STATUS_PLAYING;
    });
    open_session();
    poll();
    expect_one_of_each("while a file plays");
}

TEST_F(MainWindowTest, BrandingFilesReplaceNameAndLogo) {
    write_file(QStringLiteral("app_name.txt"), "  Field Viewer 7 \n");
    QImage logo{40, 30, QImage::Format_RGB32};
    logo.fill(Qt::red);
    ASSERT_TRUE(logo.save(QStringLiteral("app_logo.png")));
    open_window();
    EXPECT_EQ(window().windowTitle().toStdString(), "Field Viewer 7");
    EXPECT_EQ(child<QLabel>("app_name_lbl")->text().toStdString(), "  Field Viewer 7 \n");
    auto* const symbole = child<QLabel>("symbole");
    EXPECT_TRUE(symbole->styleSheet().isEmpty());
    EXPECT_EQ(symbole->pixmap(Qt::ReturnByValue).toImage().pixelColor(5, 5), QColor{Qt::red});
    EXPECT_EQ(window().windowIcon().pixmap(16, 16).toImage().pixelColor(8, 8), QColor{Qt::red});
}

TEST_F(MainWindowTest, WithoutAnEngineTheBannerShowsAndNothingFails) {
    remove_engine();
    open_window();
    auto* banner = static_cast<QLabel*>(nullptr);
    for (QLabel* label : child<QLabel>("app_name_lbl")->findChildren<QLabel*>()) {
        banner = label;
    }
    ASSERT_NE(banner, nullptr);
    EXPECT_EQ(banner->text().toStdString(), "      Library loading failed!");
    EXPECT_EQ(banner->geometry(), QRect(250, 0, 210, 35));
    EXPECT_FALSE(banner->isHidden());
    EXPECT_FALSE(shown("symbole"));
    for (const char* button : {"playButton", "stop", "tag_playback", "volume_btn"}) {
        click(button);
    }
    for (const char* action : {"actionOpen_File", "actionSwitch_Dispuch", "actionStop_All",
                               "actionStartStream", "actionStopStreaming"}) {
        trigger(action);
    }
    for (const char* slot :
         {"on_forward_playback_clicked", "on_fast_playback_clicked", "on_tagin_list_clicked",
          "on_stream_clicked", "get_video_size", "get_action_info"}) {
        call_slot(slot);
    }
    EXPECT_FALSE(banner->isHidden());
    EXPECT_EQ(m_VidDisp, 0U);
    EXPECT_TRUE(engine().calls().empty());
}

TEST_F(MainWindowTest, WithAnEngineTheBannerIsHidden) {
    open_window();
    const auto labels = child<QLabel>("app_name_lbl")->findChildren<QLabel*>();
    ASSERT_EQ(labels.size(), 1);
    EXPECT_TRUE(labels.front()->isHidden());
}

} // namespace
