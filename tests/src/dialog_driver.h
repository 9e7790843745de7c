// Drives a dialog the way a person does: by what is shown, enabled and reachable.
#pragma once

#include <QDialog>
#include <QFileDialog>
#include <QLatin1String>
#include <QString>

#include <stdexcept>
#include <string>
#include <vector>

/// A widget of the dialog by its object name; it must be there.
template <class Widget = QWidget>
Widget& part(const QWidget& dialog, const char* name) {
    auto* const widget = dialog.findChild<Widget*>(QLatin1String(name));
    if (widget == nullptr) {
        throw std::logic_error{std::string{"no widget "} + name};
    }
    return *widget;
}

/// Clicks a button, a radio button, or the check mark of a box or a group.
void click_on(QDialog& dialog, const char* name);
/// Types a text in place of the one that is in a line edit or a spin box.
void type_into(QDialog& dialog, const char* name, const QString& text);
/// Names of the widgets that the Tab key leads to, beginning with `first`.
std::vector<std::string> walk_by_tab(QDialog& dialog, const char* first, int count);
/// As the close button of the window's frame does.
void close_by_frame(QDialog& dialog);
void press_escape(QDialog& dialog);

/// Enters a path and confirms it.
void choose_path(QFileDialog& chooser, const QString& path);
void cancel_chooser(QFileDialog& chooser);
