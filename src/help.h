// The dialog with the short introduction.
#pragma once

#include <QDialog>

#include <memory>

namespace Ui {
class help;
}

class help : public QDialog {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(help)

public:
    explicit help(QWidget* parent = nullptr);
    ~help() override;

private slots:
    void on_pushButton_clicked();

private:
    std::unique_ptr<Ui::help> ui;
};
