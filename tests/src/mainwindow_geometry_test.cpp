// The window's geometry as it stands on the screen.
#include "main_window_fixture.h"

#include <QFrame>
#include <QLabel>
#include <QPushButton>

namespace {

class GeometryTest : public MainWindowTest {
protected:
    void open_at(int width, int height) {
        open_window();
        resize_to(width, height);
    }
    void resize_to(int width, int height) {
        window().resize(width, height);
        ASSERT_TRUE(QTest::qWaitFor(
            [&] { return window().size() == QSize(width, height) && !checkResize.isActive(); }, patience_ms));
        window().resizePlayer();
    }
};

TEST_F(GeometryTest, TheSwitchGroupNeedsMoreThan540Pixels) {
    open_at(540, 600);
    EXPECT_FALSE(shown("action_group"));
    resize_to(541, 600);
    EXPECT_TRUE(shown("action_group"));
}

TEST_F(GeometryTest, ThePictureIsFittedAboveTheBar) {
    open_at(1000, 700);
    const auto* const central = child("centralWidget");
    const int available = central->height() - child("grayFrm")->height();
    EXPECT_EQ(child("playerFrame")->size(), QSize(720, 576).scaled(1000, available, Qt::KeepAspectRatio));
    const QRect frame = child("playerFrame")->geometry();
    EXPECT_EQ(frame.x(), (1000 - frame.width()) / 2);
    EXPECT_EQ(frame.y(), (available - frame.height()) / 2);
    for (QLabel* label : child("playerFrame")->findChildren<QLabel*>(QString{}, Qt::FindDirectChildrenOnly)) {
        if (label->objectName().isEmpty()) {
            EXPECT_EQ(label->size(), frame.size()) << "the video label fills the frame";
        }
    }
}

TEST_F(GeometryTest, TheBarsControlsFollowTheWidth) {
    open_at(1000, 700);
    EXPECT_EQ(child("status_slider")->x(), 110);
    EXPECT_EQ(child("status_slider")->width(), 780);
    EXPECT_EQ(child("sof_lbl")->x(), 70);
    EXPECT_EQ(child("eof_lbl")->x(), 900);
    EXPECT_EQ(child("control")->x(), 110);
    EXPECT_EQ(child("play_speed")->x(), 449);
    EXPECT_EQ(child("Port_lbl")->x(), 449);
    EXPECT_EQ(child("action_group")->geometry(), QRect(780, 10, 120, 80));
    EXPECT_EQ(child("inBtn")->pos(), QPoint(975, 650));
    EXPECT_EQ(child("outBtn")->geometry(), child("inBtn")->geometry());
    EXPECT_EQ(child("pinBtn")->pos(), QPoint(10, 650));
    EXPECT_EQ(child("unpinBtn")->geometry(), child("pinBtn")->geometry());
    EXPECT_EQ(child("grayFrm")->y(), child("centralWidget")->height() - 63);
    EXPECT_EQ(child("grayFrm")->width(), 1000);
}

TEST_F(GeometryTest, GroupsNeverMoveLeftOfTheirLimit) {
    open_at(430, 500);
    EXPECT_EQ(child("play_speed")->x(), 260);
    EXPECT_EQ(child("Port_lbl")->x(), 270);
}

TEST_F(GeometryTest, LogoAndNameAreCentredOneBelowTheOther) {
    open_at(900, 700);
    const QSize frame = child("playerFrame")->size();
    const QRect logo = child("symbole")->geometry();
    EXPECT_EQ(logo.x(), frame.width() / 2 - logo.width() / 2);
    EXPECT_EQ(logo.y(), frame.height() / 2 - logo.height() / 2);
    EXPECT_EQ(child("app_name_lbl")->y(), logo.y() + logo.height());
}

TEST_F(GeometryTest, WithoutTheBarThePictureHasTheWholeHeight) {
    open_at(800, 700);
    child("tag_list")->show();
    click("inBtn");
    EXPECT_EQ(isOut, 0);
    EXPECT_FALSE(shown("grayFrm"));
    EXPECT_FALSE(shown("tag_list"));
    EXPECT_FALSE(shown("inBtn"));
    EXPECT_TRUE(shown("outBtn"));
    const auto fitted = [this] {
        return QSize(720, 576).scaled(800, child("centralWidget")->height(), Qt::KeepAspectRatio);
    };
    EXPECT_TRUE(QTest::qWaitFor([&] { return child("playerFrame")->size() == fitted(); }, patience_ms));
    resize_to(820, 700);
    EXPECT_FALSE(shown("grayFrm")) << "it does not come back with a new size";
    click("outBtn");
    EXPECT_EQ(isOut, 1);
    EXPECT_TRUE(shown("grayFrm"));
    EXPECT_TRUE(shown("inBtn"));
    EXPECT_FALSE(shown("outBtn"));
}

TEST_F(GeometryTest, TheBarHidesWhileTheSizeChangesAndReturnsWhenItStands) {
    open_at(800, 600);
    window().resize(820, 620);
    QCoreApplication::sendPostedEvents();
    ASSERT_TRUE(checkResize.isActive());
    EXPECT_EQ(checkResize.interval(), 1);
    call_slot("check_resize");
    EXPECT_FALSE(shown("grayFrm")) << "in the middle of the change";
    call_slot("check_resize");
    EXPECT_TRUE(shown("grayFrm")) << "one tick after it stands";
    EXPECT_FALSE(checkResize.isActive());
}

TEST_F(GeometryTest, PinningKeepsTheWindowOnTop) {
    open_at(800, 600);
    click("pinBtn");
    EXPECT_TRUE(window().windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    EXPECT_TRUE(window().isVisible());
    EXPECT_FALSE(shown("pinBtn"));
    EXPECT_TRUE(shown("unpinBtn"));
    click("unpinBtn");
    EXPECT_FALSE(window().windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    EXPECT_TRUE(shown("pinBtn"));
    EXPECT_FALSE(shown("unpinBtn"));
}

TEST_F(GeometryTest, AWidthOf6608IsUsedAs6600) {
    open_window();
    open_session();
    report([](velmora_info_t& info) {
        info.inp_width = 6608;
        info.inp_height = 2000;
    });
    get_video_stop = 1;
    call_slot("get_video_size");
    EXPECT_EQ(width_screen, 6600);
    EXPECT_EQ(height_screen, 2000);
    EXPECT_EQ(video_size_flag, 1);
    report([](velmora_info_t& info) { info.inp_width = 0; });
    call_slot("get_video_size");
    EXPECT_EQ(width_screen, 6600);
    EXPECT_EQ(video_size_flag, 0);
}

TEST_F(GeometryTest, APictureLargerThanTheScreenMaximisesOnce) {
    open_window();
    open_session();
    vertical_display = 1000;
    horizontal_display = 700;
    report([](velmora_info_t& info) {
        info.inp_width = 690;
        info.inp_height = 900;
    });
    call_slot("get_video_size");
    EXPECT_FALSE(window().windowState().testFlag(Qt::WindowMaximized)) << "neither crossed comparison holds";
    EXPECT_EQ(get_video_stop, 1);
    get_video_stop = 0;
    report([](velmora_info_t& info) { info.inp_height = 937; });
    call_slot("get_video_size");
    EXPECT_TRUE(window().windowState().testFlag(Qt::WindowMaximized))
        << "63 + 937 reaches the screen's width";
    EXPECT_EQ(res_flag, 0);
}

TEST_F(GeometryTest, NothingMovesWhileTheGuardIsSet) {
    open_at(800, 600);
    child("playerFrame")->setGeometry(1, 2, 3, 4);
    res_flag = 1;
    window().resizePlayer();
    EXPECT_EQ(child("playerFrame")->geometry(), QRect(1, 2, 3, 4));
}

TEST_F(GeometryTest, AFrameOfAFixedSizeGrowsTheWindow) {
    open_at(800, 600);
    window().resize_player_frame(1000, 700);
    const int bar = 600 - child("grayFrm")->y();
    EXPECT_EQ(window().size(), QSize(1000, 700 + bar));
    EXPECT_EQ(child("playerFrame")->pos(), QPoint(0, 0));
}

TEST_F(GeometryTest, AFrameThatFillsNeitherDimensionEndsTheProcess) {
    open_at(800, 600);
    EXPECT_DEATH(window().resize_player_frame(100, 100), "mainwindow.*screen_x==0\\|\\|screen_y==0");
    EXPECT_DEATH(window().resize_player_frame(799, 100), "mainwindow");
}

} // namespace
