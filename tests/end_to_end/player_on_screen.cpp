#include "player_on_screen.h"

#include "dialog_driver.h"
#include "jsncfg.h"
#include "loadlib.h"
#include "player_state.h"
#include "support/block_pattern.h"

#include <QApplication>
#include <QCursor>
#include <QDir>
#include <QFile>
#include <QFrame>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QSlider>
#include <QTimer>

#include <unistd.h>

PlayerOnScreen::PlayerOnScreen(const QString& board) : previous_folder_{QDir::currentPath()} {
    QDir::setCurrent(folder_.path());
    if (!board.isEmpty()) {
        Config config{QStringLiteral("\nzandor_player.cfg")};
        config.p_board_ip->ip = board;
        config.p_board_ip->write();
    }
    QFile::link(QStringLiteral(ENGINE_LIBRARY), QStringLiteral("libvelmora.so"));
    if (m_velmora == nullptr) {
        load_engine();
    }
    m_info = velmora_info_t{};
    rx_socket = 0;
    tx_soxket = 0;
    isOut = 1;
    width_screen = 720;
    height_screen = 576;
    window_ = std::make_unique<MainWindow>();
    window_->show();
    EXPECT_TRUE(QTest::qWaitForWindowActive(window_.get(), patience_ms));
    EXPECT_TRUE(wait_until([] { return !checkResize.isActive(); }));
}

void PlayerOnScreen::TearDown() {
    keep_screenshot();
}

PlayerOnScreen::~PlayerOnScreen() {
    part<QAction>("actionStop_All")->trigger();
    window_.reset();
    for (const int socket : {rx_socket, tx_soxket}) {
        if (socket > 0) {
            ::close(socket);
        }
    }
    active_app = 0;
    QDir::setCurrent(previous_folder_);
}

bool PlayerOnScreen::wait_until(const std::function<bool()>& condition) const {
    return QTest::qWaitFor(condition, patience_ms);
}

void PlayerOnScreen::in_dialog(const char* action, const std::function<void(QDialog&)>& person) {
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &timer, [&] {
        if (auto* const dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget())) {
            timer.stop();
            EXPECT_TRUE(QTest::qWaitForWindowActive(dialog, patience_ms));
            person(*dialog);
            if (dialog->isVisible()) {
                keep_screenshot();
                dialog->close();
            }
        }
    });
    timer.start(10);
    part<QAction>(action)->trigger();
}

void PlayerOnScreen::play(const std::filesystem::path& file) {
    in_dialog("actionOpen_File", [&](QDialog& dialog) {
        type_into(dialog, "file", QString::fromStdString(file.string()));
        click_on(dialog, "play");
    });
}

void PlayerOnScreen::click(const char* button) {
    QTest::mouseClick(part<QPushButton>(button), Qt::LeftButton);
}

void PlayerOnScreen::click_slider(int second) {
    auto* const slider = part<QSlider>("status_slider");
    const int x = (second * slider->width() + slider->maximum() - 1) / slider->maximum();
    const QPoint place{x, slider->height() / 2};
    QCursor::setPos(slider->mapToGlobal(place));
    ASSERT_TRUE(wait_until([&] { return QCursor::pos() == slider->mapToGlobal(place); }));
    QTest::mouseClick(slider, Qt::LeftButton, Qt::NoModifier, place);
}

bool PlayerOnScreen::shown(const char* widget) const {
    return part(widget)->isVisible();
}

QString PlayerOnScreen::text(const char* label) const {
    return part<QLabel>(label)->text();
}

std::optional<std::uint32_t> PlayerOnScreen::number_on_screen() const {
    const auto* const frame = part<QFrame>("playerFrame");
    const QPoint origin = frame->mapToGlobal(QPoint{});
    return number_in(
        window_->screen()->grabWindow(0, origin.x(), origin.y(), frame->width(), frame->height()).toImage());
}

std::optional<std::uint32_t> PlayerOnScreen::number_in(const QImage& image) {
    const QImage pixels = image.convertToFormat(QImage::Format_RGB888);
    return pattern::read_number(
        {pixels.constBits(), pixels.width(), pixels.height(), pixels.bytesPerLine(), 3});
}

void PlayerOnScreen::keep_screenshot() const {
    const QString folder = qEnvironmentVariable("SCREENSHOTS");
    if (folder.isEmpty()) {
        return;
    }
    const auto* const test = testing::UnitTest::GetInstance()->current_test_info();
    QString name =
        QStringLiteral("%1.%2").arg(QLatin1String(test->test_suite_name()), QLatin1String(test->name()));
    name.replace(QLatin1Char('/'), QLatin1Char('-')); // of a test with parameters
    const QString path = QStringLiteral("%1/%2-%3.png").arg(folder, name);
    int number = 1;
    while (QFile::exists(path.arg(number))) {
        ++number;
    }
    window_->screen()->grabWindow(0).save(path.arg(number));
}

bool PlayerOnScreen::wait_for_number(std::uint32_t number) const {
    return wait_until([&] { return number_on_screen() == number; });
}

bool PlayerOnScreen::wait_for_playing() const {
    return wait_until([&] { return shown("pause") && text("eof_lbl") != QLatin1String("--:--"); });
}
