#include "network_stream.h"

#include "form_text.h"
#include "jsncfg.h"
#include "player_state.h"
#include "ui_network_stream.h"

#include <QFileDialog>
#include <QLayout>

#include <array>
#include <utility>

network_stream::network_stream(QWidget* parent)
    : QDialog{parent}, ui{std::make_unique<Ui::network_stream>()} {
    ui->setupUi(this);
    show_rtsp_fields(false);
    const networkCfg& network = *m_mpCfg->p_networkCfg;
    const recordCfg& record = *m_mpCfg->p_recordCfg;
    ui->sync_delay->setValue(network.sync_delay);
    show_stored_reception();
    show_stored_transport();
    ui->record_grp->setChecked(network.is_recording == 1);
    ui->portLE->setText(QString::number(network.port));
    ui->ipLE->setText(network.ip);
    ui->rtsp_urlLE->setText(network.rtsp_url);
    ui->rtsp_sdpLE->setText(network.rtsp_sdp);
    ui->rtsp_serial_portLE->setText(QString::number(network.rtsp_serial_port));
    ui->rec_path->setText(record.directory_path);
    ui->record_index_mode->setChecked(record.trick_mode == 1);
}

network_stream::~network_stream() = default;

void network_stream::show_rtsp_fields(bool rtsp) {
    const std::array<QWidget*, 6> plain{ui->unicasRd, ui->multicastRD, ui->ipLE,
                                        ui->ipLbl,    ui->portLE,      ui->portLbl};
    const std::array<QWidget*, 8> of_rtsp{ui->rtsp_urlLE, ui->rtsp_urlLbl,         ui->rtsp_sdpLbl,
                                          ui->rtsp_sdpLE, ui->rtsp_serial_portLbl, ui->rtsp_serial_portLE,
                                          ui->rtsp_tcpRD, ui->rtsp_udpRD};
    const QSize more_than_needed = isVisible() ? size() - sizeHint() : QSize{};
    for (QWidget* widget : plain) {
        widget->setVisible(!rtsp);
    }
    for (QWidget* widget : of_rtsp) {
        widget->setVisible(rtsp);
    }
    if (isVisible()) {
        ui->groupBox->layout()->activate();
        layout()->activate();
        resize(sizeHint() + more_than_needed);
    }
}

void network_stream::enable_group_address(bool enabled) {
    ui->ipLbl->setEnabled(enabled);
    ui->ipLE->setEnabled(enabled);
}

void network_stream::show_stored_reception() {
    const bool multicast = m_mpCfg->p_networkCfg->mode == MULTICAST;
    (multicast ? ui->multicastRD : ui->unicasRd)->setChecked(true);
    enable_group_address(multicast);
}

void network_stream::show_stored_rtsp_mode() {
    const bool tcp = m_mpCfg->p_networkCfg->rtsp_mode != RTSP_UDP;
    (tcp ? ui->rtsp_tcpRD : ui->rtsp_udpRD)->setChecked(true);
}

void network_stream::show_stored_transport() {
    switch (m_mpCfg->p_networkCfg->ts) {
    case RTP:
        ui->rtpRD->setChecked(true);
        break;
    case SPLIT:
        ui->splitRD->setChecked(true);
        break;
    case RTSP:
        ui->rtspRD->setChecked(true); // its fields follow
        break;
    default:
        ui->transportRD->setChecked(true);
    }
}

/// Goes back to what is stored, not to what was chosen in the fields that are now hidden.
void network_stream::on_rtspRD_toggled(bool checked) {
    show_rtsp_fields(checked);
    if (checked) {
        show_stored_rtsp_mode();
    } else {
        show_stored_reception();
    }
}

void network_stream::on_multicastRD_clicked(bool /*checked*/) {
    enable_group_address(true);
}

void network_stream::on_unicasRd_clicked() {
    enable_group_address(false);
}

void network_stream::store_transport() {
    const std::array<std::pair<const QRadioButton*, int>, 4> transports{
        {{ui->transportRD, TRANSPORT}, {ui->rtpRD, RTP}, {ui->splitRD, SPLIT}, {ui->rtspRD, RTSP}}};
    for (const auto& [button, transport] : transports) {
        if (button->isChecked()) {
            m_mpCfg->p_networkCfg->ts = transport;
        }
    }
}

void network_stream::store_rtsp() {
    networkCfg& network = *m_mpCfg->p_networkCfg;
    network.rtsp_mode = ui->rtsp_udpRD->isChecked() ? RTSP_UDP : RTSP_TCP;
    network.rtsp_serial_port = ui->rtsp_serial_portLE->text().toInt();
    network.rtsp_url = stored_text(ui->rtsp_urlLE->text());
    network.rtsp_sdp = stored_text(ui->rtsp_sdpLE->text());
}

void network_stream::store_reception() {
    networkCfg& network = *m_mpCfg->p_networkCfg;
    if (ui->unicasRd->isChecked()) {
        network.mode = UNICAST;
    } else if (ui->multicastRD->isChecked()) {
        network.mode = MULTICAST;
    }
    network.port = ui->portLE->text().toInt();
    network.ip = stored_text(ui->ipLE->text());
}

void network_stream::on_playNetwork_clicked() {
    networkCfg& network = *m_mpCfg->p_networkCfg;
    recordCfg& record = *m_mpCfg->p_recordCfg;
    store_transport();
    network.sync_delay = ui->sync_delay->value();
    if (network.ts == RTSP) {
        store_rtsp();
    } else {
        store_reception();
    }
    network.is_recording = ui->record_grp->isChecked() ? 1 : 0;
    record.trick_mode = ui->record_index_mode->isChecked() ? 1 : 0;
    network.write();
    record.write();
    done(Accepted);
}

void network_stream::on_record_browes_clicked() {
    recordCfg& record = *m_mpCfg->p_recordCfg;
    const QString directory = QFileDialog::getExistingDirectory(this, tr("Open_file"), record.directory_path,
                                                                QFileDialog::ShowDirsOnly);
    // A cancelled chooser empties the directory; Play saves it.
    record.directory_path = stored_text(directory);
    ui->rec_path->setText(directory);
}

void network_stream::on_cancelNetwork_clicked() {
    done(Rejected);
}
