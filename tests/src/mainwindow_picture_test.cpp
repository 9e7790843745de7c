// Pictures of the engine on their way into the video label.
#include "main_window_fixture.h"

#include <array>
#include <chrono>

namespace {

class PictureTest : public MainWindowTest {
protected:
    QSize video_size() { return video()->size(); }
    bool wait_for_colour(const QColor& colour) {
        return QTest::qWaitFor(
            [&] {
                const QImage picture = shown_picture();
                return !picture.isNull() && picture.pixelColor(picture.rect().center()) == colour;
            },
            patience_ms);
    }
    bool push(const QImage& picture, int pitch) {
        return engine().push_picture(picture.width(), picture.height(), pitch, picture.constBits());
    }
    /// A picture of one colour whose rows have `pitch` bytes.
    static std::vector<std::uint8_t> filled(int height, int pitch, const QColor& colour) {
        std::vector<std::uint8_t> bytes(static_cast<std::size_t>(pitch) * static_cast<std::size_t>(height));
        for (int y = 0; y < height; ++y) {
            for (int x = 0; 3 * x + 2 < pitch; ++x) {
                std::uint8_t* const pixel = bytes.data() + static_cast<std::ptrdiff_t>(y) * pitch + 3 * x;
                pixel[0] = static_cast<std::uint8_t>(colour.red());
                pixel[1] = static_cast<std::uint8_t>(colour.green());
                pixel[2] = static_cast<std::uint8_t>(colour.blue());
            }
        }
        return bytes;
    }
    bool push_colour(int width, int height, const QColor& colour) {
        const int pitch = (3 * width + 3) / 4 * 4;
        return engine().push_picture(width, height, pitch, filled(height, pitch, colour).data());
    }
    void open_playing_window() {
        open_window();
        open_session();
    }
};

TEST_F(PictureTest, ReachesTheLabelRedFirstTopToBottom) {
    open_playing_window();
    const std::vector<std::uint8_t> pixels{255, 0, 0, 0, 255, 0, 0, 0, 0, 0, 255, 255, 255, 255, 0, 0};
    ASSERT_TRUE(engine().push_picture(2, 2, 8, pixels.data()));
    ASSERT_TRUE(QTest::qWaitFor([&] { return !shown_picture().isNull(); }, patience_ms));
    const QImage picture = shown_picture();
    EXPECT_EQ(picture.pixelColor(0, 0), QColor(255, 0, 0));
    EXPECT_EQ(picture.pixelColor(picture.width() - 1, 0), QColor(0, 255, 0));
    EXPECT_EQ(picture.pixelColor(0, picture.height() - 1), QColor(0, 0, 255));
    EXPECT_EQ(picture.pixelColor(picture.width() - 1, picture.height() - 1), QColor(255, 255, 255));
}

TEST_F(PictureTest, IsScaledIntoTheLabelKeepingItsAspect) {
    open_playing_window();
    ASSERT_TRUE(push_colour(160, 90, Qt::red));
    ASSERT_TRUE(wait_for_colour(Qt::red));
    EXPECT_EQ(shown_picture().size(), QSize(160, 90).scaled(video_size(), Qt::KeepAspectRatio));
}

TEST_F(PictureTest, OfTheLabelsSizeIsShownAsItIs) {
    open_playing_window();
    const QSize size = video_size();
    ASSERT_TRUE(push_colour(size.width(), size.height(), Qt::blue));
    ASSERT_TRUE(wait_for_colour(Qt::blue));
    EXPECT_EQ(shown_picture().size(), size);
}

class PitchTest : public PictureTest, public testing::WithParamInterface<int> {};

TEST_P(PitchTest, KeepsRowsStraight) {
    open_playing_window();
    const int width = GetParam();
    constexpr int height = 40;
    for (const int pitch : {3 * width, (3 * width + 3) / 4 * 4, 3 * width + 37}) {
        auto bytes = filled(height, pitch, Qt::black);
        for (int y = 0; y < height; ++y) {
            for (int colour = 0; colour < 3; ++colour) { // a white column on the left
                bytes[static_cast<std::size_t>(y) * static_cast<std::size_t>(pitch) +
                      static_cast<std::size_t>(colour)] = 255;
            }
        }
        ASSERT_TRUE(engine().push_picture(width, height, pitch, bytes.data()));
        QCoreApplication::processEvents();
        ASSERT_TRUE(QTest::qWaitFor([&] { return !shown_picture().isNull(); }, patience_ms));
        const QImage picture = shown_picture();
        for (const int y : {1, picture.height() / 2, picture.height() - 2}) {
            EXPECT_GT(picture.pixelColor(0, y).lightness(), 200) << "pitch " << pitch << " row " << y;
            EXPECT_LT(picture.pixelColor(picture.width() - 1, y).lightness(), 50);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Widths, PitchTest, testing::Values(64, 65, 66, 67));

TEST_F(PictureTest, ANullPointerIsIgnoredAndTheLastPictureStays) {
    open_playing_window();
    push_colour(64, 48, Qt::green);
    ASSERT_TRUE(wait_for_colour(Qt::green));
    engine().push_picture(64, 48, 192, nullptr);
    QCoreApplication::processEvents();
    EXPECT_TRUE(wait_for_colour(Qt::green));
}

TEST_F(PictureTest, WhatDoesNotFitTheFrameBufferIsDroppedWithALine) {
    open_playing_window();
    push_colour(64, 48, Qt::green);
    ASSERT_TRUE(wait_for_colour(Qt::green));
    const std::vector<std::uint8_t> small(64);
    struct Size {
        int width;
        int height;
        int pitch;
    };
    for (const auto& [width, height, pitch] :
         {Size{3840, 2160, 11520}, Size{-5, 10, 30}, Size{10, 0, 30}, Size{10, 10, 29}, Size{4, 4, -12},
          Size{2147483647, 2147483647, 2147483647}, Size{5461, 1001, 16384}}) {
        testing::internal::CaptureStderr();
        engine().push_picture(width, height, pitch, small.data());
        const std::string line = testing::internal::GetCapturedStderr();
        EXPECT_NE(line.find("dropped"), std::string::npos) << width << 'x' << height;
        EXPECT_EQ(std::ranges::count(line, '\n'), 1);
    }
    QCoreApplication::processEvents();
    EXPECT_TRUE(wait_for_colour(Qt::green));
}

TEST_F(PictureTest, FillsTheFrameBufferToItsLastByte) {
    open_playing_window();
    ASSERT_TRUE(push_colour(2560, 1600, Qt::red));
    EXPECT_TRUE(wait_for_colour(Qt::red));
    auto bytes = filled(1000, 16384, Qt::blue);
    ASSERT_TRUE(engine().push_picture(5461, 1000, 16384, bytes.data()));
    EXPECT_TRUE(wait_for_colour(Qt::blue));
}

TEST_F(PictureTest, NewerPicturesReplaceThoseThatWaitInsteadOfQueueing) {
    open_playing_window();
    int delivered = 0;
    QObject::connect(&window(), &MainWindow::processedImage, &window(), [&delivered] { ++delivered; });
    for (int i = 0; i < 20; ++i) {
        push_colour(64, 48, i == 19 ? QColor{Qt::yellow} : QColor{Qt::darkGray});
    }
    QCoreApplication::processEvents();
    EXPECT_LE(delivered, 1);
    EXPECT_TRUE(wait_for_colour(Qt::yellow)) << "the newest one is shown";
}

TEST_F(PictureTest, ASizeThatChangesWhileOneWaitsIsShownRight) {
    open_playing_window();
    push_colour(640, 480, Qt::red);
    push_colour(64, 200, Qt::blue);
    ASSERT_TRUE(wait_for_colour(Qt::blue));
    EXPECT_EQ(shown_picture().size(), QSize(64, 200).scaled(video_size(), Qt::KeepAspectRatio));
}

TEST_F(PictureTest, NothingIsConvertedForAHiddenWindowAndTheNewestAppearsWithIt) {
    open_playing_window();
    push_colour(64, 48, Qt::red);
    ASSERT_TRUE(wait_for_colour(Qt::red));
    window().hide();
    push_colour(64, 48, Qt::blue);
    push_colour(64, 48, Qt::green);
    QCoreApplication::processEvents();
    const QImage picture = shown_picture();
    EXPECT_EQ(picture.pixelColor(picture.rect().center()), QColor{Qt::red});
    window().show();
    EXPECT_TRUE(wait_for_colour(Qt::green));
}

TEST_F(PictureTest, TheLabelsSizeIsToldToTheEngineWhenItChanges) {
    open_window();
    engine().forget_calls();
    trigger("actionStartStream");
    const auto first = last_call("Velmora_set_display_size");
    ASSERT_TRUE(first);
    EXPECT_EQ(first->handle, 77U);
    EXPECT_EQ(QSize(first->width, first->height), video_size() * video()->devicePixelRatioF());
    engine().forget_calls();
    window().resize(900, 700);
    ASSERT_TRUE(
        QTest::qWaitFor([&] { return last_call("Velmora_set_display_size").has_value(); }, patience_ms));
    ASSERT_TRUE(QTest::qWaitFor([] { return !checkResize.isActive(); }, patience_ms));
    const auto last = last_call("Velmora_set_display_size");
    EXPECT_EQ(QSize(last->width, last->height), video_size() * video()->devicePixelRatioF());
    engine().forget_calls();
    click("inBtn");
    click("outBtn");
    EXPECT_EQ(std::ranges::count(call_names(), "Velmora_set_display_size"), 2);
}

TEST_F(PictureTest, AReopenedSessionIsToldAgainAndShowsPictures) {
    open_playing_window();
    trigger("actionStop_All");
    engine().forget_calls();
    trigger("actionStartStream");
    EXPECT_TRUE(last_call("Velmora_set_display_size"));
    EXPECT_TRUE(push_colour(64, 48, Qt::cyan));
    EXPECT_TRUE(wait_for_colour(Qt::cyan));
}

TEST_F(PictureTest, AnEngineWithoutTheSecondTableIsToldNothing) {
    m_velmora_ext = nullptr;
    open_playing_window();
    window().resize(800, 600);
    ASSERT_TRUE(QTest::qWaitFor([] { return !checkResize.isActive(); }, patience_ms));
    EXPECT_FALSE(last_call("Velmora_set_display_size"));
    push_colour(64, 48, Qt::cyan);
    EXPECT_TRUE(wait_for_colour(Qt::cyan));
}

TEST_F(PictureTest, ThirtyTwoBitPicturesAreWrappedDirectly) {
    open_playing_window();
    video()->hide();
    std::vector<std::uint32_t> pixels(64 * 48, 0xFF3366CC);
    window().overlay(64, 48, 0, pixels.data());
    EXPECT_TRUE(wait_for_colour(QColor(0x33, 0x66, 0xCC)));
    EXPECT_FALSE(video()->isHidden());
}

TEST_F(PictureTest, ThePositionIsTheWindowsAndTheSizeTheFrames) {
    open_playing_window();
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    velmora_get_position_callback(&window(), &x, &y, &width, &height);
    EXPECT_EQ(QPoint(x, y), window().mapToGlobal(QPoint{}));
    EXPECT_EQ(QSize(width, height), child<QFrame>("playerFrame")->frameRect().size());
}

} // namespace
