// Pictures that come faster than they are shown, unseen, too large, or when memory is short.
#include "main_window_fixture.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <stop_token>
#include <thread>

namespace {

using namespace std::chrono_literals;

bool memory_is_short = false;

/// Any grey of a 4 x 4 picture.
std::vector<std::uint8_t> grey(int level) {
    std::vector<std::uint8_t> pixels(48);
    std::ranges::fill(pixels, static_cast<std::uint8_t>(level));
    return pixels;
}

class DeliveryTest : public MainWindowTest {
protected:
    ~DeliveryTest() override { memory_is_short = false; }

    void open_playing_window() {
        open_window();
        ASSERT_TRUE(QTest::qWaitFor([] { return !checkResize.isActive(); }, patience_ms));
        open_session();
    }
    int level_shown() {
        const QImage picture = shown_picture();
        return picture.isNull() ? -1 : picture.pixelColor(0, 0).red();
    }
    void push(int level) { engine().push_picture(4, 4, 12, grey(level).data()); }
    bool wait_for(int level) {
        return QTest::qWaitFor([this, level] { return level_shown() == level; }, patience_ms);
    }
};

TEST_F(DeliveryTest, AWindowThatWasHeldUpHasOnePictureToCatchUpWith) {
    open_playing_window();
    int shown = 0;
    QObject::connect(&window(), &MainWindow::processedImage, &window(), [&shown] { ++shown; });
    std::jthread source{[this](const std::stop_token& stop) {
        for (int level = 1; !stop.stop_requested() && level <= 13; ++level) {
            push(level);
            std::this_thread::sleep_for(40ms);
        }
    }};
    std::this_thread::sleep_for(600ms); // the GUI thread is held, not a wait for something to happen
    source.join();
    EXPECT_EQ(shown, 0);
    QCoreApplication::processEvents();
    EXPECT_EQ(shown, 1);
    EXPECT_EQ(level_shown(), 13) << "the newest one";
}

TEST_F(DeliveryTest, NothingIsConvertedForAMinimisedWindow) {
    open_playing_window();
    push(10);
    ASSERT_TRUE(wait_for(10));
    window().showMinimized();
    push(20);
    QCoreApplication::processEvents();
    EXPECT_EQ(level_shown(), 10);
    window().showNormal();
    EXPECT_TRUE(wait_for(20));
}

TEST_F(DeliveryTest, NothingIsConvertedForHiddenVideo) {
    open_playing_window();
    push(10);
    ASSERT_TRUE(wait_for(10));
    click("stop");
    ASSERT_TRUE(video()->isHidden());
    push(20);
    QCoreApplication::processEvents();
    EXPECT_EQ(level_shown(), -1);
    click("playButton");
    EXPECT_FALSE(video()->isHidden());
    QCoreApplication::processEvents();
    EXPECT_EQ(level_shown(), -1) << "it was not of the view that is started";
    push(30);
    EXPECT_TRUE(wait_for(30));
}

TEST_F(DeliveryTest, ThePictureInPauseFollowsTheWindowOfAnEngineThatDoesNotScale) {
    m_velmora_ext = nullptr;
    open_playing_window();
    push(10);
    ASSERT_TRUE(wait_for(10));
    window().resize(500, 500);
    EXPECT_TRUE(QTest::qWaitFor(
        [this] {
            return !checkResize.isActive() && video()->pixmap(Qt::ReturnByValue).size() ==
                                                  QSize(4, 4).scaled(video()->size(), Qt::KeepAspectRatio);
        },
        patience_ms));
    EXPECT_EQ(level_shown(), 10);
}

TEST_F(DeliveryTest, ARunOfPicturesThatDoNotFitIsReportedOnce) {
    open_playing_window();
    const auto pixels = grey(0);
    testing::internal::CaptureStderr();
    for (int i = 0; i < 5; ++i) {
        engine().push_picture(3840, 2160, 11520, pixels.data());
    }
    push(10);
    engine().push_picture(3840, 2160, 11520, pixels.data());
    const std::string lines = testing::internal::GetCapturedStderr();
    EXPECT_EQ(std::ranges::count(lines, '\n'), 2) << lines;
}

TEST_F(DeliveryTest, APictureAfterTheWindowIsGoneIsIgnored) {
    open_playing_window();
    close_window();
    EXPECT_TRUE(engine().push_picture(4, 4, 12, grey(1).data())) << "the session is still open";
}

TEST_F(DeliveryTest, WithoutMemoryTheSessionGoesOnWithoutPictures) {
    open_window();
    memory_is_short = true;
    open_session();
    memory_is_short = false;
    EXPECT_NE(m_VidDisp, 0U);
    EXPECT_FALSE(engine().push_picture(4, 4, 12, grey(1).data())) << "no callback is registered";
    trigger("actionStop_All");
    open_session();
    EXPECT_TRUE(engine().push_picture(4, 4, 12, grey(7).data()));
    EXPECT_TRUE(wait_for(7)) << "the next session tries again";
}

TEST_F(DeliveryTest, ASizeThatNoAreaHasIsNotTold) {
    open_window();
    video()->setFixedSize(0, 0);
    open_session();
    EXPECT_FALSE(last_call("Velmora_set_display_size"));
}

TEST_F(DeliveryTest, RatiosNeedASessionAndAKnownPicture) {
    open_window();
    int width = 1;
    int height = 2;
    get_ratio_exepted(360, 1000, width, height);
    EXPECT_EQ(QSize(width, height), QSize(1, 2)) << "no session";
    open_session();
    get_ratio_exepted(360, 1000, width, height);
    EXPECT_EQ(QSize(width, height), QSize(360, 288));
    width_screen = 0;
    get_ratio_exepted(100, 100, width, height);
    EXPECT_EQ(QSize(width, height), QSize(360, 288)) << "picture not known";
}

} // namespace

// NOLINTBEGIN(bugprone-reserved-identifier): the names are the linker's
extern "C" {
void* __real_calloc(std::size_t count, std::size_t size);

/// The linker sends the window's own allocations here.
void* __wrap_calloc(std::size_t count, std::size_t size) {
    return memory_is_short ? nullptr : __real_calloc(count, size);
}
}
// NOLINTEND(bugprone-reserved-identifier)
