// Streaming and recording: what the user starts and stops, and the two animated buttons.
#include "mainwindow.h"

#include "engine_records.h"
#include "jsncfg.h"
#include "loadlib.h"
#include "player_state.h"
#include "ui_mainwindow.h"

#include <QDir>
#include <QFileDialog>
#include <QIcon>

#include <array>

namespace {

bool has_session() {
    return m_velmora != nullptr && m_VidDisp != 0;
}

bool record_directory_exists() {
    return QDir{m_mpCfg->p_recordCfg->directory_path}.exists();
}

} // namespace

void MainWindow::setNetworkStream() {}

void MainWindow::on_Record_clicked() {
    if (isRecord == 1) {
        stop_record();
    } else if (isStream != 0) {
        start_record();
    } else if (record_directory_exists()) {
        m_mpCfg->p_networkCfg->is_recording = 1;
        init_video();
    }
}

void MainWindow::start_record() {
    if (!record_directory_exists() || !has_session()) {
        return;
    }
    if (const auto record = make_record_setup(*m_mpCfg->p_recordCfg)) {
        m_velmora->Velmora_set_record_param(m_VidDisp, *record);
        m_velmora->Velmora_start(m_VidDisp, 1 << RECORD_BIT);
    }
}

void MainWindow::stop_record() {
    if (has_session()) {
        m_velmora->Velmora_stop(m_VidDisp, 1 << RECORD_BIT);
    }
}

void MainWindow::on_stream_clicked() {
    if (!has_session()) {
        return;
    }
    if (isStreamPlayback != 0) {
        m_velmora->Velmora_stop(m_VidDisp, 1 << PLAYBACK_STREAMING_BIT);
        set_streaming_opertion(1);
    } else if (isPlayback != 0) {
        set_streaming_opertion(0);
        m_velmora->Velmora_start(m_VidDisp, 1 << PLAYBACK_STREAMING_BIT);
    }
}

void MainWindow::on_switch_dispatch_clicked() {
    if (has_session()) {
        m_velmora->Velmora_switch_dispatch(m_VidDisp, active_app != PLAYBACK_APP ? 1 : 0);
    } else if (m_VidDisp == 0) {
        active_app = active_app == PLAYBACK_APP ? STREAMING_APP : PLAYBACK_APP;
    }
}

void MainWindow::on_actionSwitch_Dispuch_triggered() {
    on_switch_dispatch_clicked();
}

void MainWindow::streamAnimate() {
    static const std::array<QString, 4> pictures{QStringLiteral(":/new/menuebar/bitmap/stream1.png"),
                                                 QStringLiteral(":/new/menuebar/bitmap/stream2.png"),
                                                 QStringLiteral(":/new/menuebar/bitmap/stream3.png"),
                                                 QStringLiteral(":/new/menuebar/bitmap/stream.png")};
    constexpr int phases = static_cast<int>(std::tuple_size_v<decltype(pictures)>);
    if (stream_animate >= 0 && stream_animate < phases) {
        ui->stream->setIcon(QIcon{pictures.at(static_cast<std::size_t>(stream_animate))});
        stream_animate = (stream_animate + 1) % phases;
    }
}

void MainWindow::playAnimate() {
    ui->Record->setIcon(QIcon{animatStutuse == 1 ? QStringLiteral(":/new/menuebar/bitmap/record2.png")
                                                 : QStringLiteral(":/new/menuebar/bitmap/record.png")});
    animatStutuse = animatStutuse == 0 ? 1 : 0;
}

void MainWindow::selectRecordDirectory() {
    dir_path = QFileDialog::getExistingDirectory(this, QStringLiteral("Save File"), QStringLiteral("/"));
    m_mpCfg->p_recordCfg->directory_path = QString::fromLatin1(dir_path.toLatin1());
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

void MainWindow::on_actionData_triggered() {}
