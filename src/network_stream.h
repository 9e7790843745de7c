// The dialog that asks where the live stream comes from, and whether it is recorded.
#pragma once

#include <QDialog>

#include <memory>

namespace Ui {
class network_stream;
}

/// Edits the network and record sections of the configuration; accepted (1) by Play, which saves them.
class network_stream : public QDialog {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(network_stream)

public:
    explicit network_stream(QWidget* parent = nullptr);
    ~network_stream() override;

private slots:
    void on_cancelNetwork_clicked();
    void on_multicastRD_clicked(bool checked);
    void on_unicasRd_clicked();
    void on_playNetwork_clicked();
    void on_rtspRD_toggled(bool checked);
    void on_record_browes_clicked();

private:
    /// Shows the fields of RTSP or those of all other transports. The dialog grows and shrinks with them.
    void show_rtsp_fields(bool rtsp);
    void enable_group_address(bool enabled);
    void show_stored_reception();
    void show_stored_rtsp_mode();
    void show_stored_transport();
    void store_transport();
    void store_rtsp();
    void store_reception();

    std::unique_ptr<Ui::network_stream> ui;
};
