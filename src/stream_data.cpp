#include "stream_data.h"

#include "form_text.h"
#include "jsncfg.h"
#include "player_state.h"
#include "ui_stream_data.h"

#include <QDir>
#include <QFileDialog>
#include <QLayout>
#include <QStyle>

#include <algorithm>

namespace {

/// A checkable group without a title draws its frame below a line of text, but starts its contents below the
/// check box alone, which does not grow with the font.
void start_below_frame(QGroupBox& group) {
    QLayout& contents = *group.layout();
    QMargins margins = contents.contentsMargins();
    const int excess = group.fontMetrics().height() - group.style()->pixelMetric(QStyle::PM_IndicatorHeight);
    margins.setTop(margins.top() + std::max(excess, 0));
    contents.setContentsMargins(margins);
}

} // namespace

stream_data::stream_data(QWidget* parent) : QDialog{parent}, ui{std::make_unique<Ui::stream_data>()} {
    setWindowTitle(QStringLiteral("Stream Data"));
    ui->setupUi(this); // the form's own title wins
    start_below_frame(*ui->data_eth_enable);
    start_below_frame(*ui->data_file_enable);
    const stream_data_save& section = *m_mpCfg->p_stream_data;
    ui->data_file_enable->setChecked(section.is_save_by_file != 0);
    ui->data_eth_enable->setChecked(section.is_send_by_eth != 0);
    ui->data_eth_ip->setText(section.ip);
    ui->data_eth_port->setText(QString::number(section.port));
    ui->data_file_name->setText(section.file_name);
}

stream_data::~stream_data() = default;

void stream_data::on_data_btowes_clicked() {
    // A cancelled chooser empties the field.
    ui->data_file_name->setText(
        QFileDialog::getSaveFileName(this, tr("Open Image"), QDir::homePath(), tr("Binary File (*.bin)")));
}

void stream_data::on_save_data_param_clicked() {
    stream_data_save& section = *m_mpCfg->p_stream_data;
    section.is_save_by_file = ui->data_file_enable->isChecked() ? 1 : 0;
    section.is_send_by_eth = ui->data_eth_enable->isChecked() ? 1 : 0;
    section.ip = stored_text(ui->data_eth_ip->displayText());
    section.port = ui->data_eth_port->displayText().toInt();
    section.file_name = stored_text(ui->data_file_name->displayText());
    section.write();
    done(Accepted);
}

void stream_data::on_data_cancel_clicked() {
    done(Rejected);
}
