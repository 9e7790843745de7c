// The way of a picture from the engine's thread into the video label.
#include "mainwindow.h"

#include "engine_extension.h"
#include "player_state.h"
#include "ui_mainwindow.h"

#include <QEvent>
#include <QLabel>
#include <QPaintEvent>
#include <QPainter>
#include <QShowEvent>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <mutex>

namespace {

struct PictureShape {
    int width{0};
    int height{0};
    int pitch{0};

    bool operator==(const PictureShape&) const = default;
};

/// The newest picture in the frame buffer. The engine outlives the window, so this is the process's.
struct FrameGate {
    std::recursive_mutex mutex;  ///< a picture handed over on the GUI thread is shown within the call
    MainWindow* window{nullptr}; ///< alive and with a frame buffer
    PictureShape shape;          ///< empty when there is no picture
    PictureShape refused;        ///< last one that did not fit; a run of the same ones is reported once
    bool is_announced{false};    ///< a processedImage is on its way to the GUI thread
};

FrameGate& frame_gate() {
    static FrameGate gate;
    return gate;
}

bool fits_frame_buffer(const PictureShape& shape) {
    return shape.width > 0 && shape.height > 0 && shape.pitch >= 3 * static_cast<std::int64_t>(shape.width) &&
           static_cast<std::int64_t>(shape.pitch) * shape.height <=
               static_cast<std::int64_t>(frame_buffer_size);
}

/// The gate's mutex is held.
void report_refused(const PictureShape& shape) {
    if (shape != frame_gate().refused) {
        frame_gate().refused = shape;
        std::fprintf(stderr, "player: picture of %d x %d with %d bytes per row does not fit, dropped\n",
                     shape.width, shape.height, shape.pitch);
    }
}

} // namespace

void velmora_user_overlay_callback(void* user, int /*video_ch*/, unsigned int /*pixelformat*/, int width,
                                   int height, int stride, void* data, void* /*ext*/) {
    FrameGate& gate = frame_gate();
    const std::lock_guard lock{gate.mutex};
    if (gate.window == user && gate.window != nullptr) {
        gate.window->overlay2(width, height, stride, data);
    }
}

void velmora_get_position_callback(void* user, int* x, int* y, int* w, int* h) {
    static_cast<MainWindow*>(user)->get_position(x, y, w, h);
}

bool MainWindow::allocate_frame_buffer() {
    FrameGate& gate = frame_gate();
    const std::lock_guard lock{gate.mutex};
    if (!local_bitmap) {
        // A label may still wrap the buffer of an earlier session: one serves them all.
        local_bitmap.reset(std::calloc(frame_buffer_size, 1));
    }
    gate.window = local_bitmap ? this : nullptr;
    return local_bitmap != nullptr;
}

void MainWindow::release_frame_buffer() {
    FrameGate& gate = frame_gate();
    const std::lock_guard lock{gate.mutex};
    if (gate.window == this) {
        gate.window = nullptr;
        gate.shape = {};
        gate.refused = {};
        gate.is_announced = false;
    }
}

void MainWindow::overlay2(int width, int height, int stride, void* pixels) {
    if (pixels == nullptr) {
        return;
    }
    const PictureShape shape{width, height, stride};
    FrameGate& gate = frame_gate();
    const std::lock_guard lock{gate.mutex};
    if (!fits_frame_buffer(shape)) {
        report_refused(shape);
        return;
    }
    if (!local_bitmap) {
        return;
    }
    std::memcpy(local_bitmap.get(), pixels,
                static_cast<std::size_t>(stride) * static_cast<std::size_t>(height));
    gate.shape = shape;
    gate.refused = {};
    if (!gate.is_announced) {
        gate.is_announced = true;
        emit processedImage(newest_picture());
    }
}

/// Wraps the frame buffer without copying it; the gate's mutex is held.
QImage MainWindow::newest_picture() const {
    const PictureShape& shape = frame_gate().shape;
    return {static_cast<const uchar*>(local_bitmap.get()), shape.width, shape.height, shape.pitch,
            QImage::Format_RGB888};
}

void MainWindow::overlay(int width, int height, int /*stride*/, void* pixels) {
    const QImage picture{static_cast<const uchar*>(pixels), width, height, QImage::Format_RGB32};
    video_screen->show();
    emit processedImage(picture);
}

void MainWindow::updatePlayerUI(const QImage& img) {
    if (img.constBits() != local_bitmap.get()) {
        show_picture(QPixmap::fromImage(img));
        return;
    }
    {
        const std::lock_guard lock{frame_gate().mutex};
        frame_gate().is_announced = false;
        picture_waits = frame_gate().shape != PictureShape{}; // it may have been removed on its way
    }
    show_waiting_picture();
}

void MainWindow::remove_picture() {
    {
        const std::lock_guard lock{frame_gate().mutex};
        frame_gate().shape = {};
    }
    picture_waits = false;
    pxmp = QPixmap{};
    video_screen->setAttribute(Qt::WA_OpaquePaintEvent, false);
    video_screen->clear();
    update(QRect{video_screen->mapTo(this, QPoint{}), video_screen->size()});
}

/// Shows the newest picture; nothing is converted while it cannot be seen.
void MainWindow::show_waiting_picture() {
    if (!picture_waits || !video_screen->isVisible() || isMinimized()) {
        return;
    }
    picture_waits = false;
    QPixmap picture;
    {
        const std::lock_guard lock{frame_gate().mutex};
        picture = QPixmap::fromImage(newest_picture());
    }
    show_picture(picture);
}

void MainWindow::refit_picture() {
    if (engine_extension(&velmora_ext_t::Velmora_set_display_size) != nullptr) {
        return;
    }
    {
        const std::lock_guard lock{frame_gate().mutex};
        picture_waits = picture_waits || frame_gate().shape != PictureShape{};
    }
    show_waiting_picture();
}

void MainWindow::show_picture(const QPixmap& picture) {
    const qreal ratio = video_screen->devicePixelRatioF();
    const QSize room = (QSizeF{video_screen->size()} * ratio).toSize();
    pxmp = picture;
    if (pxmp.size() != pxmp.size().scaled(room, Qt::KeepAspectRatio)) {
        pxmp = pxmp.scaled(room, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    }
    pxmp.setDevicePixelRatio(ratio);
    // A picture that covers the label spares painting what lies behind it.
    video_screen->setAttribute(Qt::WA_OpaquePaintEvent, pxmp.size() == room);
    video_screen->setPixmap(pxmp);
    update(QRect{video_screen->mapTo(this, QPoint{}), video_screen->size()});
}

void MainWindow::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter{this};
    painter.drawPixmap(0, 0, pxmp);
}

void MainWindow::showEvent(QShowEvent* event) {
    QMainWindow::showEvent(event);
    show_waiting_picture();
}

void MainWindow::changeEvent(QEvent* event) {
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::WindowStateChange) {
        show_waiting_picture();
    }
}

void MainWindow::get_position(int* x, int* y, int* w, int* h) {
    const QPoint origin = mapToGlobal(QPoint{});
    const QRect frame = ui->playerFrame->frameRect();
    *x = origin.x();
    *y = origin.y();
    *w = frame.width();
    *h = frame.height();
}

void MainWindow::send_display_size() {
    const auto set_display_size = engine_extension(&velmora_ext_t::Velmora_set_display_size);
    const QSize size = (QSizeF{video_screen->size()} * video_screen->devicePixelRatioF()).toSize();
    if (set_display_size == nullptr || m_VidDisp == 0 || size.isEmpty() || size == sent_display_size) {
        return;
    }
    sent_display_size = size;
    set_display_size(m_VidDisp, size.width(), size.height());
}
