#include "aboat.h"

#include "branding.h"
#include "loadlib.h"
#include "ui_aboat.h"

namespace {

/// The decimal digits with dots between them: 182 gives 1.8.2, 0 nothing.
QString dotted(int number) {
    QString text;
    for (int rest = number; rest > 0; rest /= 10) {
        if (!text.isEmpty()) {
            text.prepend(QLatin1Char{'.'});
        }
        text.prepend(QChar{'0' + rest % 10});
    }
    return text;
}

int engine_version() {
    int number = 0;
    if (m_velmora != nullptr) {
        m_velmora->Velmora_get_dll_ver(&number);
    }
    return number;
}

} // namespace

aboat::aboat(QWidget* parent) : QDialog{parent}, ui{std::make_unique<Ui::aboat>()} {
    ui->setupUi(this);
    show_branding(*ui->symbol, *ui->app_name_lbl);
    ui->dll_ver_lbl->setText(QStringLiteral("Dll Version: %1 ").arg(dotted(engine_version())));
    ui->mp_ver_lbl->setText(QStringLiteral("Version: %1 ").arg(dotted(version)));
    ui->built_on_lbl->setText(QStringLiteral("Built on: " __DATE__ " " __TIME__));
}

aboat::~aboat() = default;

void aboat::on_closeBtn_clicked() {
    close();
}
