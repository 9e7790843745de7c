// What only a window manager and a screen can show: states of the window, real sizes, the mouse.
#include "main_window_fixture.h"

#include <QLabel>
#include <QProcess>
#include <QPushButton>
#include <QScreen>
#include <QSlider>
#include <QStyle>
#include <QWindow>

namespace {

class OnDisplay : public MainWindowTest {
protected:
    void open_settled_window() {
        open_window();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window(), patience_ms));
        ASSERT_TRUE(QTest::qWaitFor([] { return !checkResize.isActive(); }, patience_ms));
    }
    bool wait_until(const std::function<bool()>& condition) {
        return QTest::qWaitFor(condition, patience_ms);
    }
    /// What the window manager has made of the window.
    bool has_state(const char* state) {
        QProcess xprop;
        xprop.start(QStringLiteral("xprop"),
                    {QStringLiteral("-id"), QString::number(window().windowHandle()->winId()),
                     QStringLiteral("_NET_WM_STATE")});
        xprop.waitForFinished(patience_ms);
        return xprop.readAllStandardOutput().contains(state);
    }
    /// The topmost widget at a child's centre, as a click would find it.
    bool is_topmost(const char* name) {
        QWidget* const widget = child(name);
        return QApplication::widgetAt(widget->mapToGlobal(widget->rect().center())) == widget;
    }
    /// Moves the real mouse there and does something with its buttons.
    static bool move_mouse(QPoint place, const QStringList& buttons) {
        QProcess xdotool;
        xdotool.start(
            QStringLiteral("xdotool"),
            QStringList{QStringLiteral("mousemove"), QString::number(place.x()), QString::number(place.y())} +
                buttons);
        return xdotool.waitForFinished(patience_ms) && xdotool.exitCode() == 0;
    }
    /// Presses and releases the left button of the real mouse there.
    void click_at(QWidget* widget, QPoint place) {
        QWindow* const target = window().windowHandle();
        const QPoint in_window = widget->mapTo(&window(), place);
        QCursor::setPos(widget->mapToGlobal(place));
        QTest::mousePress(target, Qt::LeftButton, Qt::NoModifier, in_window);
        QTest::mouseRelease(target, Qt::LeftButton, Qt::NoModifier, in_window);
    }
};

TEST_F(OnDisplay, PinningKeepsTheWindowAboveTheOthers) {
    open_settled_window();
    click("pinBtn");
    EXPECT_TRUE(wait_until([this] { return has_state("_NET_WM_STATE_ABOVE"); }));
    EXPECT_TRUE(wait_until([this] { return window().isVisible() && is_topmost("unpinBtn"); }));
    click("unpinBtn");
    EXPECT_TRUE(wait_until([this] { return !has_state("_NET_WM_STATE_ABOVE"); }));
    EXPECT_TRUE(wait_until([this] { return window().isVisible() && is_topmost("pinBtn"); }));
}

TEST_F(OnDisplay, AnOversizedPictureMaximisesTheWindowOnce) {
    open_settled_window();
    open_session();
    report([](velmora_info_t& info) {
        info.inp_width = 1920;
        info.inp_height = 1080;
    });
    call_slot("get_video_size");
    const QSize screen = QGuiApplication::primaryScreen()->size();
    ASSERT_GE(1920, screen.height()) << "the crossed comparison needs a screen lower than that";
    EXPECT_TRUE(wait_until([this] { return has_state("_NET_WM_STATE_MAXIMIZED_VERT"); }));
    EXPECT_TRUE(wait_until([&] { return window().width() == screen.width() && !checkResize.isActive(); }));
    EXPECT_EQ(child("grayFrm")->width(), window().width()) << "the layout follows";
    window().showNormal();
    EXPECT_TRUE(wait_until([this] { return !has_state("_NET_WM_STATE_MAXIMIZED_VERT"); }));
    call_slot("get_video_size");
    EXPECT_FALSE(window().windowState().testFlag(Qt::WindowMaximized)) << "only once";
}

TEST_F(OnDisplay, TheBarGoesWhileTheSizeChangesAndComesBack) {
    open_settled_window();
    bool was_hidden = false;
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, [&] { was_hidden = was_hidden || !shown("grayFrm"); });
    watch.start(0);
    for (int width = 730; width <= 900; width += 10) {
        window().resize(width, 671);
        ASSERT_TRUE(wait_until([&] { return window().width() == width; }));
    }
    EXPECT_TRUE(wait_until([this] { return !checkResize.isActive() && shown("grayFrm"); }));
    EXPECT_TRUE(was_hidden);
    EXPECT_EQ(child("grayFrm")->width(), 900);
}

TEST_F(OnDisplay, WithoutTheBarOnlyTheButtonThatBringsItBackCanBeClicked) {
    open_settled_window();
    ASSERT_TRUE(is_topmost("inBtn"));
    click_at(child("inBtn"), child("inBtn")->rect().center());
    EXPECT_TRUE(wait_until([this] { return is_topmost("outBtn"); }));
    EXPECT_EQ(isOut, 0);
    EXPECT_EQ(child("outBtn")->pos(), QPoint(window().width() - 25, window().height() - 50));
    click_at(child("outBtn"), child("outBtn")->rect().center());
    EXPECT_TRUE(wait_until([this] { return is_topmost("inBtn") && shown("grayFrm"); }));
}

class SliderOnDisplay : public OnDisplay {
protected:
    QSlider* slider() { return child<QSlider>("status_slider"); }
    void show_slider() {
        open_settled_window();
        open_session();
        report([](velmora_info_t& info) {
            info.action_bit = 1;
            info.active_app = PLAYBACK_APP;
            info.player_info.state = PLAYRE_STATUS_PLAYING;
            info.player_info.second = 10;
            info.player_info.total_second = 3600;
            info.inp_width = 720;
            info.inp_height = 576;
        });
        poll();
        slider()->setEnabled(true);
        engine().forget_calls();
    }
    std::vector<int> seeks() const {
        std::vector<int> seconds;
        for (const RecordedCall& call : calls()) {
            if (call.name == "Velmora_set_event") {
                seconds.push_back(std::get<playback_event_t>(call.record).sec);
            }
        }
        return seconds;
    }
};

TEST_F(SliderOnDisplay, AClickIntoTheGrooveSeeksOnce) {
    show_slider();
    const int x = slider()->width() / 2;
    click_at(slider(), QPoint{x, slider()->height() / 2});
    const int expected =
        static_cast<int>(3600.0F * (static_cast<float>(x) / static_cast<float>(slider()->width())));
    EXPECT_EQ(seeks(), std::vector<int>{expected});
    EXPECT_EQ(slider()->value(), expected);
}

TEST_F(SliderOnDisplay, TheHandleDraggedOutsideTheSliderDoesNotSeek) {
    show_slider();
    slider()->setValue(1800);
    constexpr int handle_width = 10;
    const int handle_x = QStyle::sliderPositionFromValue(slider()->minimum(), slider()->maximum(), 1800,
                                                         slider()->width() - handle_width) +
                         handle_width / 2;
    const QPoint handle = slider()->mapToGlobal(QPoint{handle_x, slider()->height() / 2});
    ASSERT_TRUE(move_mouse(handle, {QStringLiteral("mousedown"), QStringLiteral("1")}));
    ASSERT_TRUE(wait_until([this] { return slider()->isSliderDown(); }));
    engine().forget_calls();
    ASSERT_TRUE(move_mouse(handle + QPoint{100, -60}, {}));
    EXPECT_TRUE(wait_until([this] { return slider()->value() > 1900; })) << "the handle follows";
    EXPECT_TRUE(seeks().empty());
    ASSERT_TRUE(move_mouse(handle + QPoint{100, -60}, {QStringLiteral("mouseup"), QStringLiteral("1")}));
    EXPECT_TRUE(wait_until([this] { return !slider()->isSliderDown(); }));
    EXPECT_TRUE(seeks().empty());
}

} // namespace
