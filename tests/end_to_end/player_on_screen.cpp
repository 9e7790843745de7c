#include "player_on_screen.h"

#include "loadlib.h"
#include "player_state.h"
#include "support/block_pattern.h"

#include <QApplication>
#include <QCursor>
#include <QDialog>
#include <QDir>
#include <QFile>
#include <QFrame>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScreen>
#include <QSlider>
#include <QTimer>

#include <unistd.h>

PlayerOnScreen::PlayerOnScreen() : previous_folder_{QDir::currentPath()} {
    QDir::setCurrent(folder_.path());
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

void PlayerOnScreen::play(const std::filesystem::path& file) {
    auto* const timer = new QTimer{window_.get()};
    QObject::connect(timer, &QTimer::timeout, window_.get(), [timer, file] {
        auto* const dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (dialog == nullptr) {
            return;
        }
        timer->stop();
        timer->deleteLater();
        QTest::keyClicks(dialog->findChild<QLineEdit*>(QStringLiteral("file")),
                         QString::fromStdString(file.string()));
        QTest::mouseClick(dialog->findChild<QPushButton*>(QStringLiteral("play")), Qt::LeftButton);
    });
    timer->start(10);
    part<QAction>("actionOpen_File")->trigger();
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
    const QImage screen = window_->screen()
                              ->grabWindow(0, origin.x(), origin.y(), frame->width(), frame->height())
                              .toImage()
                              .convertToFormat(QImage::Format_RGB888);
    return pattern::read_number(
        {screen.constBits(), screen.width(), screen.height(), screen.bytesPerLine(), 3});
}

bool PlayerOnScreen::wait_for_number(std::uint32_t number) const {
    return wait_until([&] { return number_on_screen() == number; });
}

bool PlayerOnScreen::wait_for_playing() const {
    return wait_until([&] { return shown("pause") && text("eof_lbl") != QLatin1String("--:--"); });
}
