#include "form_text.h"

#include <QStringList>

namespace {

constexpr int groups = 4;
constexpr int digits = 3;

} // namespace

QString stored_text(const QString& shown) {
    return QString::fromLatin1(shown.toLatin1());
}

QString to_masked_address(const QString& address) {
    QString text;
    const QStringList parts = address.split(QLatin1Char('.'));
    for (int i = 0; i < parts.size(); ++i) {
        text += parts[i].rightJustified(digits, QLatin1Char('0'));
        if (i < groups - 1) {
            text += QLatin1Char('.');
        }
    }
    return text;
}

QString from_masked_address(const QString& text) {
    const QStringList parts = text.split(QLatin1Char('.'));
    QStringList numbers;
    for (int i = 0; i < groups; ++i) {
        numbers += QString::number(parts.value(i).toInt());
    }
    return numbers.join(QLatin1Char('.'));
}
