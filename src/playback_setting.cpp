#include "playback_setting.h"

#include "form_text.h"
#include "jsncfg.h"
#include "player_state.h"
#include "ui_playback_setting.h"

#include <QFileDialog>

playback_setting::playback_setting(QWidget* parent)
    : QDialog{parent}, ui{std::make_unique<Ui::playback_setting>()} {
    ui->setupUi(this);
    ui->warning_file->hide();
    ui->ip->setInputMask(QStringLiteral("000.000.000.000;0"));
    const playbackCfg& section = *m_mpCfg->p_playbackCfg;
    ui->trick_mode_enable->setChecked(section.is_trick_mode != 0);
    ui->dir->setCurrentIndex(section.direction);
    ui->speed->setCurrentIndex(section.speed);
    ui->streaming->setChecked(section.is_stream != 0);
    ui->ip->setText(to_masked_address(section.ip));
    ui->port->setText(QString::number(section.port));
}

playback_setting::~playback_setting() = default;

void playback_setting::show_warning() {
    ui->warning_file->setVisible(ui->file->text().isEmpty());
}

void playback_setting::on_browes_clicked() {
    const QString name =
        QFileDialog::getOpenFileName(this, tr("Open File"), m_mpCfg->p_recordCfg->directory_path, tr("*.ts"));
    if (!name.isEmpty()) {
        // The section keeps the choice before this one until Play.
        m_mpCfg->p_playbackCfg->path = stored_text(ui->file->text());
        ui->file->setText(name);
    }
    show_warning();
}

void playback_setting::on_play_clicked() {
    playbackCfg& section = *m_mpCfg->p_playbackCfg;
    section.is_trick_mode = 1;
    section.direction = ui->dir->currentIndex();
    section.speed = ui->speed->currentIndex();
    section.is_stream = ui->streaming->isChecked() ? 1 : 0;
    section.port = ui->port->text().toInt();
    section.ip = stored_text(from_masked_address(ui->ip->displayText()));
    section.write();
    if (ui->file->text().isEmpty()) {
        show_warning();
        return;
    }
    section.path = stored_text(ui->file->text());
    done(Accepted);
}

void playback_setting::on_cancel_clicked() {
    done(Rejected);
}
