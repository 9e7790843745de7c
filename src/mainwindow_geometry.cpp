// The window's geometry: where everything sits, the bottom bar, pinning on top.
#include "mainwindow.h"

#include "engine_session.h"
#include "general/assertion.h"
#include "geometry.h"
#include "loadlib.h"
#include "message_line.h"
#include "player_state.h"
#include "ui_mainwindow.h"

#include <QLabel>
#include <QResizeEvent>

namespace {

constexpr int resize_check_ms = 1;

} // namespace

void MainWindow::resizePlayer() {
    if (res_flag == 1) {
        return;
    }
    geometry::LayoutInput input;
    input.window = size();
    input.central_height = ui->centralWidget->height();
    input.picture = QSize{width_screen, height_screen};
    input.bar_shown = isOut == 1;
    input.bar_height = ui->grayFrm->height();
    input.play_speed_width = ui->play_speed->width();
    input.logo = ui->symbole->size();
    input.app_name = ui->app_name_lbl->size();
    const geometry::Layout layout = geometry::lay_out(input);

    ui->playerFrame->setGeometry(layout.player_frame);
    ui->action_group->setVisible(layout.action_group_shown);
    ui->sof_lbl->move(layout.sof_x, ui->sof_lbl->y());
    ui->eof_lbl->move(layout.eof_x, ui->eof_lbl->y());
    ui->status_slider->setGeometry(layout.slider_x, ui->status_slider->y(), layout.slider_width,
                                   ui->status_slider->height());
    ui->play_speed->move(layout.play_speed_x, ui->play_speed->y());
    ui->Port_lbl->move(layout.port_x, ui->Port_lbl->y());
    ui->inBtn->move(layout.bar_button);
    ui->outBtn->setGeometry(QRect{layout.bar_button, ui->inBtn->size()});
    ui->action_group->setGeometry(layout.action_group);
    ui->pinBtn->move(ui->pinBtn->x(), layout.pin_y);
    ui->unpinBtn->setGeometry(QRect{QPoint{ui->pinBtn->x(), layout.pin_y}, ui->pinBtn->size()});
    ui->grayFrm->setGeometry(ui->grayFrm->x(), layout.bar_y, layout.bar_width, ui->grayFrm->height());
    ui->control->move(layout.control_x, ui->control->y());

    maximise_once();

    if (isOut != 1) {
        ui->grayFrm->hide();
        ui->tag_list->hide();
        ui->inBtn->hide();
        ui->symbole->raise();
        ui->app_name_lbl->raise();
        ui->playerFrame->raise();
        ui->outBtn->show();
        ui->outBtn->raise();
    } else {
        ui->grayFrm->show();
        ui->outBtn->hide();
        ui->inBtn->show();
    }
    ui->playerFrame->raise();
    ui->symbole->move(layout.logo);
    ui->symbole->raise();
    ui->app_name_lbl->move(layout.app_name);
    ui->app_name_lbl->raise();
    ui->inBtn->raise();
    ui->outBtn->raise();
    ui->pinBtn->raise();
    ui->unpinBtn->raise();
    ui->tag_list->hide();
    message_line->set_room(
        geometry::message_room(layout.player_frame, input.window.width(), input.bar_shown));
    video_screen->setFixedSize(ui->playerFrame->size());
    send_display_size();
    refit_picture();
}

void MainWindow::maximise_once() {
    if (video_size_flag != 1 || get_video_stop != 0) {
        return;
    }
    getVideoSize.stop();
    res_flag = 1;
    const QSize picture{width_screen, height_screen};
    if (geometry::outgrows_screen(picture, ui->grayFrm->height(), vertical_display, horizontal_display)) {
        setWindowState(Qt::WindowMaximized);
    }
    res_flag = 0;
    get_video_stop = 1;
}

void MainWindow::resizeEvent(QResizeEvent* event) {
    resize_param = event->oldSize();
    if (!checkResize.isActive()) {
        checkResize.start(resize_check_ms);
    }
}

void MainWindow::check_resize() {
    if (size() == resize_param) {
        checkResize.stop();
        if (isOut == 1) {
            ui->grayFrm->show();
        }
        return;
    }
    resizePlayer();
    resize_param = size();
    ui->grayFrm->hide();
}

void MainWindow::get_video_size() {
    velmora_info_t info{};
    if (has_session()) {
        m_velmora->Velmora_get_info(m_VidDisp, &info, 0);
    }
    const QSize size = geometry::sensible_picture_size(info.inp_width, info.inp_height);
    constexpr int misreported_width = 6608;
    constexpr int real_width = 6600;
    video_size_flag = 1;
    if (size.width() != 0) {
        width_screen = size.width() == misreported_width ? real_width : size.width();
    } else {
        video_size_flag = 0;
    }
    if (size.height() != 0) {
        height_screen = size.height();
    } else {
        video_size_flag = 0;
    }
    if (video_size_flag == 1) {
        res_flag = 0;
        resizePlayer();
    }
}

void MainWindow::setSizeFromWindow() {
    ui->actionSize_From_Window->setChecked(true);
    ui->actionSize_From_Video->setChecked(false);
    option_size = 2;
}

void MainWindow::setSizeFromVideo() {
    ui->actionSize_From_Window->setChecked(false);
    ui->actionSize_From_Video->setChecked(true);
    option_size = 0;
}

void MainWindow::on_outBtn_clicked() {
    res_flag = 0;
    isOut = 1;
    resizePlayer();
}

void MainWindow::on_inBtn_clicked() {
    res_flag = 0;
    isOut = 0;
    ui->inBtn->raise();
    resizePlayer();
}

void MainWindow::on_pinBtn_clicked() {
    setWindowFlag(Qt::WindowStaysOnTopHint, true);
    show();
    ui->pinBtn->hide();
    ui->unpinBtn->show();
}

void MainWindow::on_unpinBtn_clicked() {
    setWindowFlag(Qt::WindowStaysOnTopHint, false);
    show();
    raise();
    ui->pinBtn->show();
    ui->unpinBtn->hide();
}

void MainWindow::resize_player_frame(int w, int h) {
    const geometry::FramePlacement placement =
        geometry::place_frame(QSize{w, h}, size(), ui->grayFrm->y(), isOut == 1);
    const int src_w = placement.source.width();
    const int src_h = placement.source.height();
    resize(src_w, placement.bar_height + src_h);
    require(src_w >= w, "src_w>=dst_w", "mainwindow");
    require(src_h >= h, "src_h>=dst_h", "mainwindow");
    require(placement.screen.x() == 0 || placement.screen.y() == 0, "screen_x==0||screen_y==0", "mainwindow");
    require(w == src_w || h == src_h, "dst_w==src_w||dst_h==src_h", "mainwindow");
    ui->playerFrame->move(placement.screen);
}

void get_ratio_exepted(int w, int h, int& out_w, int& out_h) {
    const QSize picture{width_screen, height_screen};
    if (m_VidDisp == 0 || picture.isEmpty()) {
        return;
    }
    const QSize fitted = geometry::fit_by_factor(picture, QSize{w, h});
    out_w = fitted.width();
    out_h = fitted.height();
}
