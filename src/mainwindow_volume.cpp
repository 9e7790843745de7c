// Volume: level, mute, and what of it is kept.
#include "mainwindow.h"

#include "engine_extension.h"
#include "jsncfg.h"
#include "player_state.h"
#include "ui_mainwindow.h"

#include <algorithm>

void MainWindow::start_volume() {
    av_volume = get_volume();
    ui->volume_slider->setValue(av_volume);
    set_volume(av_volume);
    show_sound_on(m_mpCfg->p_volume->volume_on != VOLUME_OFF);
    show_volume(av_volume);
}

int MainWindow::get_volume() {
    return std::clamp(m_mpCfg->p_volume->volume_val, ui->volume_slider->minimum(),
                      ui->volume_slider->maximum());
}

void MainWindow::set_volume(int level) {
    if (const auto set_engine_volume = engine_extension(&velmora_ext_t::Velmora_set_volume)) {
        set_engine_volume(level);
    }
}

void MainWindow::show_volume(int level) {
    ui->volume_lable->setText(QString::number(level) + QLatin1Char('%'));
}

void MainWindow::show_sound_on(bool on) {
    ui->volume_btn->setVisible(on);
    ui->volume_off_btn->setVisible(!on);
}

void MainWindow::on_volume_slider_valueChanged(int value) {
    show_volume(value);
    show_sound_on(true);
    ui->volume_slider->setToolTip(ui->volume_lable->text());
    set_volume(value);
    m_mpCfg->p_volume->volume_on = VOLUME_ON;
    m_mpCfg->p_volume->volume_val = value;
    m_mpCfg->p_volume->write();
}

void MainWindow::on_volume_btn_clicked() {
    show_sound_on(false);
    set_volume(0);
    m_mpCfg->p_volume->volume_on = VOLUME_OFF;
    m_mpCfg->p_volume->write();
}

void MainWindow::on_volume_off_btn_clicked() {
    show_sound_on(true);
    set_volume(get_volume());
    m_mpCfg->p_volume->volume_on = VOLUME_ON;
    m_mpCfg->p_volume->write();
}
