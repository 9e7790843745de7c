// The player as a process: with an engine, with a library that is none, and without any.
#include <QApplication>
#include <QFile>
#include <QPixmap>
#include <QProcess>
#include <QScreen>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

namespace {

constexpr int patience_ms = 20000;

class PlayerProcess : public testing::Test {
protected:
    PlayerProcess() {
        player_.setWorkingDirectory(folder_.path());
        player_.setProcessChannelMode(QProcess::ForwardedChannels);
    }
    ~PlayerProcess() override {
        if (player_.state() != QProcess::NotRunning) {
            player_.kill();
            player_.waitForFinished();
        }
    }

    void put_library(const char* library) {
        ASSERT_TRUE(QFile::link(QLatin1String(library), folder_.filePath(QStringLiteral("libvelmora.so"))));
    }
    void start() {
        player_.start(QStringLiteral(PLAYER), QStringList{});
        ASSERT_TRUE(player_.waitForStarted(patience_ms));
        ASSERT_TRUE(run_xdotool({QStringLiteral("search"), QStringLiteral("--sync"),
                                 QStringLiteral("--onlyvisible"), QStringLiteral("--all"),
                                 QStringLiteral("--pid"), QString::number(player_.processId()),
                                 QStringLiteral("--name"), QStringLiteral("^Zandor Player$"),
                                 QStringLiteral("windowactivate"), QStringLiteral("--sync")}));
    }
    /// Closes the window as its user does.
    void expect_normal_exit() {
        ASSERT_TRUE(run_xdotool({QStringLiteral("key"), QStringLiteral("alt+F4")}));
        ASSERT_TRUE(player_.waitForFinished(patience_ms));
        EXPECT_EQ(player_.exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(player_.exitCode(), 0);
    }
    /// The banner is the only thing on the screen in pure red.
    static bool is_banner_on_screen() {
        const QImage screen = QApplication::primaryScreen()->grabWindow(0).toImage();
        for (int y = 0; y < screen.height(); ++y) {
            for (int x = 0; x < screen.width(); ++x) {
                if (screen.pixelColor(x, y) == QColor{255, 0, 0}) {
                    return true;
                }
            }
        }
        return false;
    }
    /// The logo is the only thing on the screen in its blue.
    static bool is_logo_on_screen() {
        const QImage screen = QApplication::primaryScreen()->grabWindow(0).toImage();
        int blue = 0;
        const QRect middle{screen.rect().center() - QPoint{150, 150}, QSize{300, 300}};
        for (int y = middle.top(); y <= middle.bottom(); ++y) {
            for (int x = middle.left(); x <= middle.right(); ++x) {
                const QColor colour = screen.pixelColor(x, y);
                blue += colour.blue() > 120 && colour.red() < 80 ? 1 : 0;
            }
        }
        return blue > 1000;
    }

private:
    static bool run_xdotool(const QStringList& arguments) {
        QProcess xdotool;
        xdotool.start(QStringLiteral("xdotool"), arguments);
        return xdotool.waitForFinished(patience_ms) && xdotool.exitCode() == 0;
    }

    QTemporaryDir folder_;
    QProcess player_;
};

TEST_F(PlayerProcess, WithoutALibraryShowsTheBannerAndExitsNormally) {
    start();
    EXPECT_TRUE(QTest::qWaitFor(is_banner_on_screen, patience_ms));
    EXPECT_FALSE(is_logo_on_screen());
    expect_normal_exit();
}

TEST_F(PlayerProcess, ALibraryWithoutTheTableCountsAsNone) {
    put_library(TEST_ENGINE_WITHOUT_TABLE_LIBRARY);
    start();
    EXPECT_TRUE(QTest::qWaitFor(is_banner_on_screen, patience_ms));
    expect_normal_exit();
}

TEST_F(PlayerProcess, WithAnEngineShowsItsLogoAndExitsNormally) {
    put_library(TEST_ENGINE_LIBRARY);
    start();
    EXPECT_TRUE(QTest::qWaitFor(is_logo_on_screen, patience_ms));
    EXPECT_FALSE(is_banner_on_screen());
    expect_normal_exit();
}

} // namespace
