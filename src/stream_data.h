// The dialog that asks where the data beside the video goes.
#pragma once

#include <QDialog>

#include <memory>

namespace Ui {
class stream_data;
}

/// Edits the data section of the configuration; accepted (1) by Set, which saves it.
class stream_data : public QDialog {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(stream_data)

public:
    explicit stream_data(QWidget* parent = nullptr);
    ~stream_data() override;

private slots:
    void on_data_btowes_clicked();
    void on_save_data_param_clicked();
    void on_data_cancel_clicked();

private:
    std::unique_ptr<Ui::stream_data> ui;
};
