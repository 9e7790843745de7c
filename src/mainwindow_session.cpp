// The engine session, live view and the poll.
#include "mainwindow.h"

#include "engine_records.h"
#include "engine_session.h"
#include "geometry.h"
#include "jsncfg.h"
#include "loadlib.h"
#include "player_state.h"
#include "ui_mainwindow.h"

#include <QFontMetrics>
#include <QIcon>
#include <QLabel>

#include <utility>

namespace {

constexpr int animation_interval_ms = 500;

const QString indicator_on = QStringLiteral("color:#00ff00");
const QString indicator_off = QStringLiteral("color:#888888");

bool runs(const velmora_info_t& info, int activity) {
    return (info.action_bit & (1 << activity)) != 0;
}

/// Whether what has the display runs and has video. A file that runs does not lose its own.
bool has_picture(const velmora_info_t& info) {
    if (info.active_app == PLAYBACK_APP) {
        return runs(info, PLAYBACK_BIT);
    }
    return runs(info, STREAMING_BIT) && info.get_strm_info.v_codec != 0;
}

} // namespace

int MainWindow::init_vid_app() {
    if (m_VidDisp != 0) {
        return 0;
    }
    if (m_velmora == nullptr) {
        dll_msg->show();
        return -1;
    }
    dll_msg->hide();
    velmora_setup_t setup{};
    setup.flags = 1 << option_size;
    windowid = static_cast<int>(video_screen->effectiveWinId());
    windowid = 0; // the engine draws nothing itself
    setup.hwnd = windowid;
    const int result = m_velmora->Velmora_open(setup, &m_VidDisp);
    if (allocate_frame_buffer() && m_VidDisp != 0) {
        m_velmora->Velmora_register_user_overlay(m_VidDisp, velmora_user_overlay_callback, this);
    }
    sent_display_size = QSize{};
    send_display_size();
    start_messages();
    return result;
}

void MainWindow::init_video() {
    if (init_vid_app() != 0) {
        return;
    }
    const DataRecord data_record{*m_mpCfg->p_stream_data};
    m_velmora->Velmora_set_data_param(m_VidDisp, data_record.setup);
    const StreamingRecord streaming{*m_mpCfg->p_networkCfg};
    m_velmora->Velmora_set_streaming_param(m_VidDisp, streaming.setup);
    int mask = 1 << STREAMING_BIT;
    if (m_mpCfg->p_networkCfg->is_recording != 0) {
        if (const auto record = make_record_setup(*m_mpCfg->p_recordCfg)) {
            m_velmora->Velmora_set_record_param(m_VidDisp, *record);
            mask |= 1 << RECORD_BIT;
        } else {
            say_path_too_long("recorded to");
        }
    }
    m_velmora->Velmora_stop(m_VidDisp, 1 << STREAMING_BIT);
    remove_picture();
    m_velmora->Velmora_start(m_VidDisp, mask);
    video_screen->show();
    ui->symbole->hide();
    ui->app_name_lbl->hide();
}

void MainWindow::term_video_stream() {
    res_flag = 0;
    video_size_flag = 0;
    getVideoSize.stop();
    if (has_session()) {
        m_velmora->Velmora_stop(m_VidDisp, 1 << STREAMING_BIT);
    }
    remove_picture();
}

void MainWindow::get_streaming(int /*on*/) {}

void MainWindow::get_action_info() {
    const velmora_info_t previous = std::exchange(m_info, velmora_info_t{});
    // An opening has removed the picture before; what is there by now may be the file's first.
    const bool opening = open_file_state == OPEN_FILE;
    if (has_session()) {
        m_velmora->Velmora_get_info(m_VidDisp, &m_info, 0);
        active_app = m_info.active_app;
    }
    isStream = runs(m_info, STREAMING_BIT) ? 1 : 0;
    isRecord = isStream != 0 && runs(m_info, RECORD_BIT) ? 1 : 0;
    isPlayback = runs(m_info, PLAYBACK_BIT) ? 1 : 0;
    isStreamPlayback = isPlayback != 0 && runs(m_info, PLAYBACK_STREAMING_BIT) ? 1 : 0;

    if (!opening && has_picture(previous) && !has_picture(m_info)) {
        remove_picture();
    }
    show_activities();
    if (active_app == PLAYBACK_APP) {
        show_playback_controls();
    }
    if (isStreamPlayback == 0) {
        StreamAnimateQtimer.stop();
        ui->stream->setIcon(QIcon{QStringLiteral(":/new/menuebar/bitmap/stream.png")});
    }
    if (active_app == STREAMING_APP) {
        show_live_controls();
    }
    if (m_info.action_bit == 0) {
        ui->playButton->show();
        ui->pause->hide();
    }
    follow_picture_size();
    send_display_size(); // the window may have moved to a screen of another density
}

void MainWindow::show_activities() {
    if (isRecord == 0 && playAnimateQtimer.isActive()) {
        animatStutuse = 1;
        playAnimateQtimer.stop();
        ui->Record->setIcon(QIcon{QStringLiteral(":/new/menuebar/bitmap/record.png")});
        ui->actionStartRecord->setText(QStringLiteral("Start Record"));
    }
    ui->streaming_on->setStyleSheet(isStream != 0 ? indicator_on : indicator_off);
    ui->switch_dispatch->setStyleSheet(isPlayback != 0 ? indicator_on : indicator_off);
}

void MainWindow::show_playback_controls() {
    ui->sof_lbl->show();
    ui->status_slider->show();
    ui->eof_lbl->show();
    ui->stream->show();
    ui->Record->hide();
    ui->play_speed->show();
    ui->Port_lbl->hide();
    const player_sdx_status& player = m_info.player_info;
    set_playback_status(player.state, player.total_second, player.second);
    if (isStreamPlayback == 1 && !StreamAnimateQtimer.isActive()) {
        StreamAnimateQtimer.start(animation_interval_ms);
    }
}

void MainWindow::show_live_controls() {
    ui->tag_list->hide();
    const networkCfg& network = *m_mpCfg->p_networkCfg;
    const int shown_port = network.ts == RTSP ? network.rtsp_serial_port : network.port;
    const QString text = QStringLiteral("Port:") + QString::number(shown_port);
    ui->Port_lbl->setText(text);
    const QFontMetrics metrics{ui->Port_lbl->font()};
    ui->Port_lbl->resize(metrics.horizontalAdvance(text), ui->Port_lbl->height());
    ui->pause->setVisible(isStream != 0);
    ui->playButton->setVisible(isStream == 0);
    ui->sof_lbl->hide();
    ui->status_slider->hide();
    ui->eof_lbl->hide();
    ui->stream->hide();
    ui->Record->show();
    ui->play_speed->hide();
    ui->Port_lbl->show();
    if (isRecord == 1 && !playAnimateQtimer.isActive()) {
        playAnimateQtimer.start(animation_interval_ms);
        ui->actionStartRecord->setText(QStringLiteral("Stop Record"));
    }
}

void MainWindow::follow_picture_size() {
    const QSize size = geometry::sensible_picture_size(m_info.inp_width, m_info.inp_height);
    if (size == QSize{width_screen, height_screen}) {
        return;
    }
    width_screen = size.width();
    height_screen = size.height();
    resizePlayer();
}
