// One sentence over the picture: what happens, and why something does not.
#pragma once

#include <QString>
#include <QStringList>
#include <QTimer>
#include <QWidget>

#include <chrono>

/// Lies at the lower left of the video area, above everything in it, and takes no mouse. A long text is
/// wrapped, and cut at what room there is.
class MessageLine : public QWidget {
    Q_OBJECT

public:
    enum class Severity { notice, warning, error };

    /// Longer than two lines of subtitles stand.
    static constexpr std::chrono::seconds reading_time{5};

    /// @param video_area its owner
    explicit MessageLine(QWidget* video_area);

    /// Shows a text for reading_time.
    /// @param text one sentence, never taken for markup
    void show_event(const QString& text, Severity severity);
    /// Shows a text until something else is shown.
    void show_state(const QString& text, Severity severity);
    void clear();
    bool shows_event() const { return end_of_event_.isActive(); }

    /// Where it may stand, in the video area.
    void set_room(const QRect& room);

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void show_text(const QString& text, Severity severity);
    void fit();

    QString text_;      ///< empty: nothing is shown
    QStringList lines_; ///< of the text, as far as there is room
    Severity severity_{Severity::notice};
    QRect room_;
    QTimer end_of_event_;
};
