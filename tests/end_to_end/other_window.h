// Another program's window on the same screen.
#pragma once

#include <QImage>
#include <QPoint>
#include <QProcess>
#include <QStringList>

/// Runs a program with a window, silently, from start() to destruction.
class OtherWindow {
public:
    ~OtherWindow();

    /// @param title of its window, a regular expression
    /// @param folder its working directory
    /// @return false when it has no such window after a while
    bool start(const QString& program, const QStringList& arguments, const QString& title,
               const QString& folder);
    /// Clicks a place of the window.
    bool click(QPoint place);
    /// What lies inside the window's frame; empty when it is not shown.
    QImage contents() const;

private:
    QProcess process_;
    QString id_;
};
