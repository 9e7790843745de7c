#include <QColor>
#include <QDir>
#include <QImage>
#include <QString>
#include <array>
#include <cstdlib>
#include <gtest/gtest.h>

/** Names the resource, which the linker would leave out of a static library. */
static void init_resources() {
    Q_INIT_RESOURCE(resources);
}

namespace {

constexpr std::array names = {
    "console.png",
    "directory.png",
    "fast_play.png",
    "file screen.png",
    "file.png",
    "help.png",
    "in.png",
    "info.png",
    "korvo.png",
    "korvo_player_loggo.png",
    "m korvo.png",
    "network.png",
    "normal.png",
    "option.png",
    "pause.png",
    "pin.png",
    "play.png",
    "prev_play.png",
    "record.png",
    "record2.png",
    "stop.png",
    "statistic.png",
    "stream.png",
    "stream1.png",
    "stream2.png",
    "stream3.png",
    "stream_screen.png",
    "switch.png",
    "tag_list.png",
    "taggin.png",
    "unpin.png",
    "volume.png",
    "volume_off.png",
};

QImage image(const char* name) {
    return QImage(QStringLiteral(":/new/menuebar/bitmap/") + QLatin1String(name));
}

/** How much of a picture of 32 x 32 pixels differs between two images, 0 to 1. */
double difference(const char* first, const char* second) {
    constexpr int side = 32;
    const auto small = [](const char* name) {
        return image(name)
            .scaled(side, side, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
            .convertToFormat(QImage::Format_ARGB32_Premultiplied);
    };
    const QImage left = small(first);
    const QImage right = small(second);
    constexpr int visible = 48;
    int differing = 0;
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            const QRgb a = left.pixel(x, y);
            const QRgb b = right.pixel(x, y);
            const int distance = std::abs(qRed(a) - qRed(b)) + std::abs(qGreen(a) - qGreen(b)) +
                                 std::abs(qBlue(a) - qBlue(b)) + std::abs(qAlpha(a) - qAlpha(b));
            differing += distance > visible ? 1 : 0;
        }
    }
    return static_cast<double>(differing) / (side * side);
}

class Resources : public testing::Test {
protected:
    static void SetUpTestSuite() { init_resources(); }
};

TEST_F(Resources, HoldEveryImageLargeEnoughForDenseScreens) {
    constexpr int largest_button_at_double_scale = 62;
    for (const char* name : names) {
        EXPECT_GE(image(name).width(), largest_button_at_double_scale) << name;
        EXPECT_EQ(image(name).width(), image(name).height()) << name;
        EXPECT_TRUE(image(name).hasAlphaChannel()) << name;
    }
    EXPECT_EQ(QDir(QStringLiteral(":/new/menuebar/bitmap")).entryList().size(),
              static_cast<int>(names.size()));
}

TEST_F(Resources, FramesOfAnAnimatedIconDifferClearly) {
    EXPECT_GT(difference("record.png", "record2.png"), 0.1);
    EXPECT_GT(difference("stream1.png", "stream2.png"), 0.1);
    EXPECT_GT(difference("stream2.png", "stream3.png"), 0.1);
    EXPECT_GT(difference("stream.png", "stream3.png"), 0.1);
}

TEST_F(Resources, TheRecordButtonIsRed) {
    const QImage record = image("record.png");
    const QColor middle = record.pixelColor(record.rect().center());
    EXPECT_GT(middle.red(), 200);
    EXPECT_LT(middle.green(), 90);
    EXPECT_LT(middle.blue(), 90);
}

} // namespace
