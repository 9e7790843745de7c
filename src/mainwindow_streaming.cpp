// The live stream and where its data goes, streaming a played file out, and the dispatch.
#include "mainwindow.h"

#include "engine_session.h"
#include "loadlib.h"
#include "network_stream.h"
#include "player_state.h"
#include "stream_data.h"
#include "ui_mainwindow.h"

#include <QIcon>

#include <array>

int MainWindow::ask_for_network_stream() {
    network_stream dialog{this};
    return dialog.exec();
}

void MainWindow::setNetworkStream() {
    if (ask_for_network_stream() == QDialog::Accepted) {
        init_video();
    }
}

void MainWindow::on_actionData_triggered() {
    stream_data dialog{nullptr};
    dialog.exec();
}

void MainWindow::on_stream_clicked() {
    if (isStreamPlayback != 0) {
        if (has_session()) {
            m_velmora->Velmora_stop(m_VidDisp, 1 << PLAYBACK_STREAMING_BIT);
        }
        set_streaming_opertion(1);
    } else if (isPlayback != 0 && has_session()) { // without one nothing would take the board's place
        set_streaming_opertion(0);
        m_velmora->Velmora_start(m_VidDisp, 1 << PLAYBACK_STREAMING_BIT);
    }
}

void MainWindow::on_switch_dispatch_clicked() {
    if (has_session()) {
        remove_picture(); // before: the engine may show the other one's at once
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
