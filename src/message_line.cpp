#include "message_line.h"

#include <QAccessible>
#include <QEvent>
#include <QPainter>
#include <QTextLayout>

#include <algorithm>

namespace {

constexpr int margin = 8; ///< to the edges of the room, pixels
constexpr int padding = 6;
constexpr int most_lines = 5;

QColor colour_of(MessageLine::Severity severity) {
    switch (severity) {
    case MessageLine::Severity::warning:
        return {255, 200, 60};
    case MessageLine::Severity::error:
        return {255, 130, 120};
    default:
        return Qt::white;
    }
}

/// Dark enough to read every colour above on a white picture.
const QColor ground{0, 0, 0, 215};

/// The text without what would break the line or turn its direction round: it may come from a stream.
QString plain(QString text) {
    for (QChar& character : text) {
        const QChar::Category category = character.category();
        if (category == QChar::Other_Control || category == QChar::Other_Format) {
            character = QLatin1Char(' ');
        }
    }
    return text;
}

/// Breaks a text between words where it can, and cuts it behind the last line that there is room for.
QStringList wrapped(const QString& text, const QFont& font, int width, int lines) {
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    QTextLayout layout{text, font};
    layout.setTextOption(option);
    layout.beginLayout();
    QStringList result;
    for (QTextLine line = layout.createLine(); line.isValid() && result.size() < lines;
         line = layout.createLine()) {
        line.setLineWidth(width);
        const bool is_last = result.size() + 1 == lines;
        result += is_last ? QFontMetrics{font}.elidedText(text.mid(line.textStart()), Qt::ElideRight, width)
                          : text.mid(line.textStart(), line.textLength()).trimmed();
    }
    layout.endLayout();
    return result;
}

} // namespace

MessageLine::MessageLine(QWidget* video_area) : QWidget{video_area} {
    setObjectName(QStringLiteral("message_line"));
    setAccessibleName(tr("Message"));
    setAttribute(Qt::WA_TransparentForMouseEvents);
    end_of_event_.setSingleShot(true);
    connect(&end_of_event_, &QTimer::timeout, this, &MessageLine::clear);
    hide();
}

void MessageLine::show_event(const QString& text, Severity severity) {
    show_text(text, severity);
    end_of_event_.start(reading_time);
}

void MessageLine::show_state(const QString& text, Severity severity) {
    end_of_event_.stop();
    show_text(text, severity);
}

void MessageLine::clear() {
    end_of_event_.stop();
    show_text(QString{}, Severity::notice);
}

void MessageLine::set_room(const QRect& room) {
    room_ = room;
    raise();
    fit();
}

void MessageLine::show_text(const QString& text, Severity severity) {
    const QString wanted = plain(text);
    if (wanted == text_ && severity == severity_) {
        return;
    }
    text_ = wanted;
    severity_ = severity;
    setAccessibleDescription(text_);
    fit();
    if (!text_.isEmpty()) {
        QAccessibleEvent alert{this, QAccessible::Alert};
        QAccessible::updateAccessibility(&alert);
    }
}

void MessageLine::fit() {
    const QFontMetrics metrics{font()};
    const QSize most = room_.size() - 2 * QSize{margin + padding, margin + padding};
    const int lines = std::min(most_lines, most.height() / metrics.lineSpacing());
    if (text_.isEmpty() || lines < 1 || most.width() < metrics.averageCharWidth()) {
        hide();
        return;
    }
    lines_ = wrapped(text_, font(), most.width(), lines);
    int width = 0;
    for (const QString& line : lines_) {
        width = std::max(width, metrics.horizontalAdvance(line));
    }
    const QSize size =
        QSize{std::min(width, most.width()), static_cast<int>(lines_.size()) * metrics.lineSpacing()} +
        2 * QSize{padding, padding};
    setGeometry(QRect{room_.bottomLeft() + QPoint{margin, 1 - margin - size.height()}, size});
    show();
    update();
}

void MessageLine::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter{this};
    painter.fillRect(rect(), ground);
    painter.setPen(colour_of(severity_));
    painter.drawText(rect().adjusted(padding, padding, 0, 0), Qt::AlignLeft | Qt::AlignTop,
                     lines_.join(QLatin1Char('\n')));
}

void MessageLine::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange) {
        fit();
    }
}
