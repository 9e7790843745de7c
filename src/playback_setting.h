// The dialog that asks which file to play, and how.
#pragma once

#include <QDialog>

#include <memory>

namespace Ui {
class playback_setting;
}

/// Edits the playback section of the configuration; accepted (1) only with a file.
class playback_setting : public QDialog {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(playback_setting)

public:
    explicit playback_setting(QWidget* parent = nullptr);
    ~playback_setting() override;

private slots:
    void on_browes_clicked();
    void on_play_clicked();
    void on_cancel_clicked();

private:
    void show_warning();

    std::unique_ptr<Ui::playback_setting> ui;
};
