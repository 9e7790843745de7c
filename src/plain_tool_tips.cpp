#include "plain_tool_tips.h"

#include <QHelpEvent>
#include <QToolTip>
#include <QWidget>

PlainToolTips::PlainToolTips(QWidget& window) : QObject{&window}, window_{window} {
    for (QWidget* const widget : window.findChildren<QWidget*>()) {
        widget->installEventFilter(this);
    }
}

bool PlainToolTips::eventFilter(QObject* watched, QEvent* event) {
    auto* const widget = qobject_cast<QWidget*>(watched);
    if (event->type() != QEvent::ToolTip || widget == nullptr || widget->toolTip().isEmpty()) {
        return QObject::eventFilter(watched, event);
    }
    const QRect place{widget->mapTo(&window_, QPoint{}), widget->size()};
    QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(), widget->toolTip(), &window_, place);
    return true;
}
