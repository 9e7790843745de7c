#include "dialog_driver.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDialogButtonBox>
#include <QGroupBox>
#include <QLineEdit>
#include <QPushButton>
#include <QStyle>
#include <QStyleOptionGroupBox>
#include <QTest>

namespace {

QPoint check_mark_of(const QGroupBox& group) {
    QStyleOptionGroupBox option;
    option.initFrom(&group);
    option.text = group.title();
    option.subControls = QStyle::SC_GroupBoxCheckBox | QStyle::SC_GroupBoxFrame | QStyle::SC_GroupBoxLabel;
    return group.style()
        ->subControlRect(QStyle::CC_GroupBox, &option, QStyle::SC_GroupBoxCheckBox, &group)
        .center();
}

/// Where a click is one on the button, however far the layout stretched it.
QPoint hit_place(QWidget& widget) {
    if (const auto* const group = qobject_cast<QGroupBox*>(&widget)) {
        return check_mark_of(*group);
    }
    const int middle = widget.height() / 2;
    return {middle, middle};
}

void press(QFileDialog& chooser, QDialogButtonBox::StandardButton button) {
    QTest::mouseClick(part<QDialogButtonBox>(chooser, "buttonBox").button(button), Qt::LeftButton);
}

} // namespace

void click_on(QDialog& dialog, const char* name) {
    auto& widget = part<>(dialog, name);
    QTest::mouseClick(&widget, Qt::LeftButton, {}, hit_place(widget));
}

void type_into(QDialog& dialog, const char* name, const QString& text) {
    auto& field = part<>(dialog, name);
    field.setFocus();
    QTest::keyClick(&field, Qt::Key_A, Qt::ControlModifier);
    if (text.isEmpty()) {
        QTest::keyClick(&field, Qt::Key_Delete);
    }
    QTest::keyClicks(&field, text);
}

std::vector<std::string> walk_by_tab(QDialog& dialog, const char* first, int count) {
    constexpr int patience_ms = 10000;
    // The window counts as active while only its parent is.
    if (!QTest::qWaitFor([&dialog] { return QApplication::activeWindow() == &dialog; }, patience_ms)) {
        throw std::logic_error{"the dialog has no focus"};
    }
    part<>(dialog, first).setFocus();
    std::vector<std::string> names;
    for (int step = 0; step < count; ++step) {
        QWidget* const focused = dialog.focusWidget();
        names.push_back(focused->objectName().toStdString());
        QTest::keyClick(focused, Qt::Key_Tab);
    }
    return names;
}

void close_by_frame(QDialog& dialog) {
    dialog.close();
}

void press_escape(QDialog& dialog) {
    QTest::keyClick(&dialog, Qt::Key_Escape);
}

void choose_path(QFileDialog& chooser, const QString& path) {
    // Entered whole, as pasted: the list beside it fills, and completes what is typed, at its own pace.
    part<QLineEdit>(chooser, "fileNameEdit").setText(path);
    press(chooser,
          chooser.acceptMode() == QFileDialog::AcceptSave ? QDialogButtonBox::Save : QDialogButtonBox::Open);
}

void cancel_chooser(QFileDialog& chooser) {
    press(chooser, QDialogButtonBox::Cancel);
}
