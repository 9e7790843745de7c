// Tool tips in the desktop's own colours.
#pragma once

#include <QObject>

class QWidget;

/// A tip takes on the style sheets that stand around its widget: in a black bar it would be a black box. Tips
/// of the widgets of a window are shown here as tips of the window itself, which has no style sheet.
class PlainToolTips : public QObject {
    Q_OBJECT

public:
    /// @param window its owner; with all its widgets
    explicit PlainToolTips(QWidget& window);

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QWidget& window_;
};
