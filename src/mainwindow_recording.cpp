// Recording the live view: start and stop, where to, and the blinking button.
#include "mainwindow.h"

#include "engine_records.h"
#include "engine_session.h"
#include "form_text.h"
#include "jsncfg.h"
#include "loadlib.h"
#include "player_state.h"
#include "ui_mainwindow.h"

#include <QDialog>
#include <QFileDialog>
#include <QFileInfo>
#include <QIcon>

namespace {

bool record_directory_exists() {
    return QFileInfo{m_mpCfg->p_recordCfg->directory_path}.isDir();
}

} // namespace

void MainWindow::on_Record_clicked() {
    if (isRecord == 1) {
        stop_record();
    } else if (isStream != 0) {
        start_record();
    } else if (record_directory_exists()) {
        m_mpCfg->p_networkCfg->is_recording = 1;
        init_video();
    } else {
        ask_for_network_stream();
    }
}

void MainWindow::start_record() {
    if (!record_directory_exists() && ask_for_network_stream() == QDialog::Rejected) {
        return;
    }
    const auto record = make_record_setup(*m_mpCfg->p_recordCfg);
    if (!record) {
        say_path_too_long("recorded to");
    } else if (has_session()) {
        m_velmora->Velmora_set_record_param(m_VidDisp, *record);
        m_velmora->Velmora_start(m_VidDisp, 1 << RECORD_BIT);
    }
}

void MainWindow::stop_record() {
    if (has_session()) {
        m_velmora->Velmora_stop(m_VidDisp, 1 << RECORD_BIT);
    }
}

void MainWindow::playAnimate() {
    ui->Record->setIcon(QIcon{animatStutuse == 1 ? QStringLiteral(":/new/menuebar/bitmap/record2.png")
                                                 : QStringLiteral(":/new/menuebar/bitmap/record.png")});
    animatStutuse = animatStutuse == 0 ? 1 : 0;
}

void MainWindow::selectRecordDirectory() {
    dir_path = QFileDialog::getExistingDirectory(this, QStringLiteral("Save File"), QStringLiteral("/"));
    m_mpCfg->p_recordCfg->directory_path = stored_text(dir_path);
    m_mpCfg->p_recordCfg->write();
}

void MainWindow::enable_sdx() {
    m_mpCfg->p_recordCfg->trick_mode = ui->actionTrickMode->isChecked() ? 1 : 0;
    m_mpCfg->p_recordCfg->write();
}

void MainWindow::createSdxFile() {
    QFileDialog dialog{this, QStringLiteral("Open File"), m_mpCfg->p_recordCfg->directory_path,
                       QStringLiteral("*.ts")};
    dialog.setFileMode(QFileDialog::ExistingFiles);
    dialog.exec();
}
