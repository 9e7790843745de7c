// The dialogs that only inform: statistics, help, about.
#include "aboat.h"
#include "help.h"
#include "mainwindow.h"
#include "statistic.h"

void MainWindow::showStatistic() {
    // Lives as long as the window; once closed it does not poll any more.
    auto* const dialog = new statistic{this};
    dialog->exec();
}

void MainWindow::showHelp() {
    help dialog{this};
    dialog.exec();
}

void MainWindow::showAboat() {
    aboat dialog{this};
    dialog.exec();
}
