#include "branding.h"

#include <QFile>
#include <QLabel>
#include <QTextStream>

namespace {

const QString name_file = QStringLiteral("app_name.txt");

} // namespace

std::optional<QString> site_name() {
    QFile file{name_file};
    if (!file.open(QIODevice::ReadOnly)) {
        return std::nullopt;
    }
    QTextStream text{&file};
    text.setCodec("UTF-8");
    return text.readAll();
}

std::optional<QPixmap> site_logo() {
    if (!QFile::exists(site_logo_file)) {
        return std::nullopt;
    }
    return QPixmap{site_logo_file};
}

void show_logo(QLabel& symbol, const QPixmap& logo) {
    QPixmap shown = logo;
    const QSize place = symbol.minimumSize();
    if (shown.width() > place.width() || shown.height() > place.height()) {
        const qreal ratio = symbol.devicePixelRatioF();
        shown = logo.scaled(place * ratio, Qt::KeepAspectRatio, Qt::SmoothTransformation);
        shown.setDevicePixelRatio(ratio);
    }
    symbol.setPixmap(shown);
    symbol.setStyleSheet(QString{});
}

void show_branding(QLabel& symbol, QLabel& name) {
    if (const auto logo = site_logo()) {
        show_logo(symbol, *logo);
    }
    if (const auto text = site_name()) {
        name.setText(*text);
    }
}
