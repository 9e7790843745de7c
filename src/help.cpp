#include "help.h"

#include "branding.h"
#include "ui_help.h"

help::help(QWidget* parent) : QDialog{parent}, ui{std::make_unique<Ui::help>()} {
    ui->setupUi(this);
    show_branding(*ui->symbol, *ui->app_name_lbl);
}

help::~help() = default;

void help::on_pushButton_clicked() {
    close();
}
