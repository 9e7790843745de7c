// The dialog that shows the engine's live figures.
#pragma once

#include "velmoraapi.h"

#include <QDialog>
#include <QTimer>

#include <memory>

namespace Ui {
class statistic;
}

/// What the last poll of a statistics dialog read; outlives the dialogs. GUI thread only.
extern velmora_info_t p_info;

/// Polls the engine twice a second from its construction until it is closed, in whatever way.
class statistic : public QDialog {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(statistic)

public:
    explicit statistic(QWidget* parent = nullptr);
    ~statistic() override;

protected:
    void closeEvent(QCloseEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private slots:
    void get_info();
    void on_closeBtn_clicked();
    void on_resetStatisticBtn_clicked();

private:
    void show_figures();
    void show_protocol();
    void show_sound();

    std::unique_ptr<Ui::statistic> ui;
    QTimer get_infoQTimre;
};
