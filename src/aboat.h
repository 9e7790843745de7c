// The dialog that tells the player's, the engine's and the build's versions.
#pragma once

#include <QDialog>

#include <memory>

namespace Ui {
class aboat;
}

/// The application's version: one decimal digit for each of its parts, 182 = 1.8.2.
inline constexpr int version = 182;

class aboat : public QDialog {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(aboat)

public:
    explicit aboat(QWidget* parent = nullptr);
    ~aboat() override;

private slots:
    void on_closeBtn_clicked();

private:
    std::unique_ptr<Ui::aboat> ui;
};
