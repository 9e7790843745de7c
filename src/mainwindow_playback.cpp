// File playback: opening, speeds, the position slider, tags, stopping.
#include "mainwindow.h"

#include "engine_records.h"
#include "engine_session.h"
#include "geometry.h"
#include "jsncfg.h"
#include "loadlib.h"
#include "playback_setting.h"
#include "player_state.h"
#include "ui_mainwindow.h"

#include <QApplication>
#include <QCursor>
#include <QFileDialog>
#include <QLabel>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <set>

#include <sys/stat.h>

namespace {

constexpr int open_poll_ms = 200;
constexpr U32 open_task_stack = 4096;
constexpr int most_tags = 128;

const QString position_at_end = QStringLiteral("color: rgb(250, 0, 0);");
const QString position_inside = QStringLiteral("QLabel{color:rgb(255,255,255)};");

/// Counts the openings: an older one that ends late must not speak for the newest.
std::atomic<unsigned> opening{0};

void* open_file_task(void* arg) {
    const unsigned own_opening = opening;
    const auto mask = static_cast<int>(reinterpret_cast<std::intptr_t>(arg));
    open_file_state = OPEN_FILE;
    if (m_velmora == nullptr) {
        return nullptr;
    }
    if ((mask & (1 << PLAYBACK_STREAMING_BIT)) != 0) {
        set_streaming_opertion(0);
    }
    const int result = m_VidDisp != 0 ? m_velmora->Velmora_start(m_VidDisp, mask) : -1;
    if (own_opening == opening) {
        open_file_state = result == 0 ? FINISH_OPEN : OPEN_FAILED;
    }
    return nullptr;
}

} // namespace

void MainWindow::on_actionOpen_File_triggered() {
    if (m_VidDisp == 0 && init_vid_app() == -1) {
        return;
    }
    open_file_state = SELECT_FILE;
    {
        playback_setting dialog{this};
        if (dialog.exec() != QDialog::Accepted) {
            return;
        }
    }
    const playbackCfg& section = *m_mpCfg->p_playbackCfg;
    const auto setup = make_playback_setup(section);
    if (!setup) {
        say_path_too_long("opened"); // no other file may play in its place
        return;
    }
    ++opening;
    stop_playback();
    remove_picture();
    pback_dir = section.direction;
    pback_spd = section.speed;
    ui->wait_lbl->hide();
    send_playback(*setup);
    int mask = 1 << PLAYBACK_BIT;
    if (section.is_stream != 0) {
        mask |= 1 << PLAYBACK_STREAMING_BIT;
    }
    start_open_task(mask);
    video_screen->show();
}

void MainWindow::play_file() {
    open_file_TM.start(open_poll_ms);
    for (QLabel* dot : {ui->wait_1, ui->wait_2, ui->wait_3, ui->wait_4, ui->wait_5, ui->wait_6}) {
        dot->hide();
    }
}

int MainWindow::open_file_trigger() {
    if (init_vid_app() == -1) {
        return -1;
    }
    QFileDialog dialog{this, QStringLiteral("Open File"), QString{}, QStringLiteral("*.ts")};
    dialog.setFileMode(QFileDialog::ExistingFiles);
    dialog.exec();
    const QString path = dialog.selectedFiles().value(0);
    struct stat status {};
    if (dialog.result() != QDialog::Accepted || ::stat(QFile::encodeName(path).constData(), &status) != 0) {
        return -1;
    }
    const auto setup = make_plain_playback_setup(path, ui->actionTrickMode->isChecked());
    if (!setup) {
        say_path_too_long("opened");
        return -1;
    }
    ++opening;
    pback_dir = PLAYER_DIR_FORWARD;
    pback_spd = PLAYER_SPD_NORMAL;
    ui->wait_lbl->hide();
    remove_picture();
    send_playback(*setup);
    start_open_task(1 << PLAYBACK_BIT);
    return 0;
}

void MainWindow::send_playback(const playback_setup_t& setup) {
    open_file_state = OPEN_FILE;
    if (m_VidDisp != 0) {
        m_velmora->Velmora_set_playback_param(m_VidDisp, setup);
    }
}

void MainWindow::start_open_task(int mask) {
    reap_open_task();
    auto* const argument = reinterpret_cast<void*>(static_cast<std::intptr_t>(mask));
    open_file_t = OS_TaskCreate(open_task_stack, "open_file_task", open_file_task, 0, argument);
    if (open_file_t == 0) {
        open_file_state = OPEN_FAILED;
    }
}

/// Releases the task of the opening before, without waiting for one that still runs.
void MainWindow::reap_open_task() {
    if (open_file_t == 0) {
        return;
    }
    if (OS_IsTaskRunning(open_file_t) != 0) {
        pthread_detach(open_file_t);
    } else {
        OS_TaskDelete(open_file_t);
    }
    open_file_t = 0;
}

void MainWindow::wait_finish() {
    const int state = open_file_state;
    if (state != OPEN_FAILED && state != FINISH_OPEN) {
        return;
    }
    animate_TM.stop();
    open_file_TM.stop();
    if (open_file_t != 0) {
        OS_TaskDelete(open_file_t); // writing the state was the last that it did
        open_file_t = 0;
    }
    ui->animate_frame->hide();
    if (state == OPEN_FAILED) {
        remove_picture();
        return;
    }
    ui->sof_lbl->setEnabled(true);
    ui->eof_lbl->setEnabled(true);
    ui->status_slider->setEnabled(true);
    ui->symbole->hide();
    ui->app_name_lbl->hide();
    ui->actionStartStream->setIcon(QIcon{QStringLiteral(":/new/menuebar/bitmap/pause.png")});
    ui->actionStartStream->setText(QStringLiteral("Pause"));
    ui->playButton->hide();
    ui->pause->show();
}

void MainWindow::open_file_animate() {
    if (open_file_state != SELECT_FILE) {
        ui->symbole->hide();
        ui->app_name_lbl->hide();
    }
    const std::array<QLabel*, 6> dots{ui->wait_1, ui->wait_2, ui->wait_3, ui->wait_4, ui->wait_5, ui->wait_6};
    if (x_animate >= 1 && x_animate <= 6) {
        dots.at(static_cast<std::size_t>(x_animate - 1))->show();
    } else if (x_animate == 7) {
        for (QLabel* dot : dots) {
            dot->hide();
        }
        x_animate = 0;
    }
    ++x_animate;
}

void MainWindow::animate_trigger() {
    ui->symbole->hide();
    ui->app_name_lbl->hide();
    ui->wait_lbl->show();
    emit em_wait_animate();
}

void MainWindow::wait_animate() {}

void MainWindow::openFile() {}

void MainWindow::play_file(unsigned int /*mode*/) {}

void MainWindow::on_playButton_clicked() {
    if (active_app != PLAYBACK_APP) {
        if (isStream == 0) {
            init_video();
        }
        return;
    }
    if (m_info.player_info.state == PLAYRE_STATUS_PAUSING) {
        update_playback(pback_dir, pback_spd);
        ui->symbole->hide();
        ui->app_name_lbl->hide();
        return;
    }
    ui->actionOpen_File->trigger();
}

void MainWindow::on_pause_clicked() {
    if (active_app == PLAYBACK_APP) {
        update_playback(pback_dir, PLAYER_SPD_PAUSE);
        ui->pause->hide();
        ui->playButton->show();
        ui->actionStartStream->setIcon(QIcon{QStringLiteral(":/new/menuebar/bitmap/play.png")});
        ui->actionStartStream->setText(QStringLiteral("Start"));
    } else if (active_app == STREAMING_APP) {
        term_video_stream();
    }
}

void MainWindow::on_stop_clicked() {
    if (active_app == STREAMING_APP) {
        term_video_stream();
        if (bit_action != 0 && has_session()) {
            m_velmora->Velmora_switch_dispatch(m_VidDisp, 1);
        }
    } else if (active_app == PLAYBACK_APP) {
        stop_playback();
        remove_picture();
        if (has_session()) {
            m_velmora->Velmora_switch_dispatch(m_VidDisp, 0);
        }
    }
    video_screen->hide();
}

void MainWindow::stop_playback() {
    if (!has_session()) {
        return;
    }
    ui->animate_frame->hide();
    m_velmora->Velmora_stop(m_VidDisp, 1 << PLAYBACK_BIT);
    set_streaming_opertion(1);
}

void MainWindow::update_playback(int dir, int speed) {
    if (has_session()) {
        m_velmora->Velmora_set_event(m_VidDisp, playback_event_t{UPDATE_EVENT, 0, dir, speed});
    }
}

void MainWindow::on_forward_playback_clicked() {
    pback_dir = PLAYER_DIR_PREVWARD;
    update_playback(PLAYER_DIR_PREVWARD, PLAYER_SPD_NORMAL);
}

void MainWindow::on_forward_playback_2_clicked() {
    pback_dir = PLAYER_DIR_FORWARD;
    pback_spd = PLAYER_SPD_NORMAL;
    update_playback(pback_dir, pback_spd);
}

void MainWindow::on_fast_playback_clicked() {
    pback_dir = PLAYER_DIR_FORWARD;
    pback_spd = PLAYER_SPD_FAST;
    update_playback(pback_dir, pback_spd);
}

void MainWindow::seek_to(int sec) {
    if (has_session()) {
        m_velmora->Velmora_set_event(m_VidDisp, playback_event_t{SEEK_EVENT, sec, 0, 0});
    }
}

void MainWindow::mySliderValueChanged(int newPos) {
    if (m_VidDisp == 0) {
        return;
    }
    const QPoint cursor = ui->status_slider->mapFromGlobal(QCursor::pos());
    if ((QApplication::mouseButtons() & Qt::LeftButton) == 0 || !ui->status_slider->rect().contains(cursor)) {
        return; // set by the poll, or dragged outside the slider
    }
    const int position = geometry::slider_position(ui->status_slider->minimum(), ui->status_slider->maximum(),
                                                   cursor.x(), ui->status_slider->width());
    if (position != newPos) {
        ui->status_slider->setValue(position);
        seek_to(position);
    }
}

void MainWindow::set_playback_status(int state, int total_sec, int current_sec) {
    if (current_sec < 0) {
        return;
    }
    const int length = std::max(total_sec, 0);
    ui->eof_lbl->setStyleSheet(state == PLAYRE_STATUS_EOF ? position_at_end : position_inside);
    ui->sof_lbl->setStyleSheet(state == PLAYRE_STATUS_SOF ? position_at_end : position_inside);
    const bool stands = state == PLAYRE_STATUS_PAUSING || state == PLAYRE_STATUS_OFF;
    ui->pause->setVisible(!stands);
    ui->playButton->setVisible(stands);
    ui->status_slider->setMaximum(length);
    ui->status_slider->setValue(current_sec);
    std::array<char, 16> text{};
    get_time_lbl(current_sec, text.data());
    ui->sof_lbl->setText(QString::fromLatin1(text.data()));
    get_time_lbl(length, text.data());
    ui->eof_lbl->setText(QString::fromLatin1(text.data()));
}

int MainWindow::get_time_lbl(int sec, char* dst) {
    constexpr std::size_t room = 16; // "-35791394:-08" and its end
    std::snprintf(dst, room, "%02d:%02d", sec / 60, sec % 60);
    return 0;
}

void MainWindow::on_tag_playback_clicked() {
    if (!has_session()) {
        return;
    }
    if (active_app == PLAYBACK_APP) {
        m_velmora->Velmora_set_event(m_VidDisp, playback_event_t{PLAYBACK_TAG_EVENT, 0, 0, 0});
    } else if (active_app == STREAMING_APP) {
        m_velmora->Velmora_set_event(m_VidDisp, playback_event_t{RECORD_TAG_EVENT, 0, 0, 0});
    }
}

void MainWindow::on_tagin_list_clicked() {
    if (!ui->tag_list->isHidden()) {
        ui->tag_list->hide();
        return;
    }
    ui->tag_list->clear();
    if (!has_session()) {
        return;
    }
    std::set<int> tags;
    for (int index = 0; index < most_tags; ++index) {
        const int second = m_velmora->Velmora_get_tag_by_i(m_VidDisp, index);
        if (second < 0) {
            break;
        }
        tags.insert(second);
    }
    if (tags.empty()) {
        return;
    }
    for (const int second : tags) {
        ui->tag_list->addItem(QString::number(second));
    }
    const int x = ui->tagin_list->x() + ui->play_speed->x() + 25;
    ui->tag_list->setGeometry(geometry::tag_list_place(static_cast<int>(tags.size()), x,
                                                       ui->tag_list->width(), ui->centralWidget->size()));
    ui->tag_list->scrollToTop();
    ui->tag_list->show();
    ui->tag_list->raise();
}

void MainWindow::on_tag_list_clicked() {
    if (const QListWidgetItem* const item = ui->tag_list->currentItem()) {
        seek_to(item->text().toInt());
    }
    ui->tag_list->hide();
}

void MainWindow::on_actionStop_All_triggered() {
    if (has_session()) {
        m_velmora->Velmora_close(m_VidDisp);
        m_VidDisp = 0;
        stop_messages();
        remove_picture();
    }
}
