// The real main window against the test engine, in an empty working directory of its own.
#pragma once

#include "jsncfg.h"
#include "loadlib.h"
#include "mainwindow.h"
#include "player_state.h"
#include "test_engine_control.h"

#include <QAction>
#include <QApplication>
#include <QByteArray>
#include <QDialog>
#include <QImage>
#include <QJsonObject>
#include <QLabel>
#include <QList>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

/// How long conditions are waited for, milliseconds.
inline constexpr int patience_ms = 10000;

class MainWindowTest : public testing::Test {
protected:
    MainWindowTest();
    ~MainWindowTest() override;

    /// Makes and shows the window, as main does.
    MainWindow& open_window();
    void close_window();
    MainWindow& window() { return *window_; }

    template <class Widget = QWidget>
    Widget* child(const char* name) {
        auto* const widget = window_->findChild<Widget*>(QLatin1String(name));
        EXPECT_NE(widget, nullptr) << name;
        return widget;
    }
    /// Neither the widget itself nor a group around it was hidden.
    bool shown(const char* name) { return !child(name)->isHidden(); }
    /// A picture of the resources, as buttons show it.
    static QImage picture(const char* file);
    bool shows_icon(const char* button, const char* file);
    void click(const char* button);
    /// The label that shows the pictures; the only one of the video area without a name.
    QLabel* video();
    /// What is in the label; null when there is no picture.
    QImage shown_picture() { return video()->pixmap(Qt::ReturnByValue).toImage(); }
    void trigger(const char* action) { child<QAction>(action)->trigger(); }
    /// Calls a slot that takes no arguments.
    void call_slot(const char* slot) { ASSERT_TRUE(QMetaObject::invokeMethod(window_.get(), slot)); }
    void poll() { call_slot("get_action_info"); }

    /// Runs `action` once a modal dialog of this type is open; the dialog must be closed by it.
    template <class Dialog = QDialog>
    void when_dialog_opens(std::type_identity_t<std::function<void(Dialog&)>> action) {
        watch_for_dialog([action = std::move(action)](QWidget& modal) -> std::function<void()> {
            auto* const dialog = qobject_cast<Dialog*>(&modal);
            return dialog == nullptr ? nullptr : std::function<void()>{[action, dialog] { action(*dialog); }};
        });
    }
    /// Opens a modal dialog from the menu and works in it, which must close it; nothing of it remains.
    template <class Dialog>
    void work_in(const char* menu_action, const std::function<void(Dialog&)>& work) {
        bool opened = false;
        when_dialog_opens<Dialog>([&](Dialog& dialog) {
            opened = true;
            work(dialog);
        });
        trigger(menu_action);
        EXPECT_TRUE(opened);
        EXPECT_TRUE(remaining_dialogs().isEmpty());
    }
    /// Dialogs that still exist, hidden ones too.
    QList<QDialog*> remaining_dialogs();

    const TestEngineControl& engine() const { return *control_; }
    /// Changes what the engine answers.
    template <class Change>
    void script(Change change) {
        TestEngineScript answers = engine().script();
        change(answers);
        engine().set_script(answers);
    }
    /// What the next polls read.
    template <class Change>
    void report(Change change) {
        script([&](TestEngineScript& answers) { change(answers.info); });
    }
    /// Calls since the window was opened or the calls were forgotten, without those of the poll.
    std::vector<RecordedCall> calls() const;
    std::vector<std::string> call_names() const;
    std::optional<RecordedCall> last_call(const std::string& name) const;

    /// Opens a session as the first action that needs it would.
    void open_session();
    /// Takes the engine away, as if no library had been found.
    static void remove_engine();

    static void write_file(const QString& name, const QByteArray& content);
    /// The configuration file's content; empty when there is none.
    static QJsonObject saved_configuration();
    static bool configuration_exists();
    static void save_section(const QString& section, const QJsonObject& values);

private:
    /// Asks `recognise` about each modal widget until it names what is to be done.
    void watch_for_dialog(std::function<std::function<void()>(QWidget& modal)> recognise);

    QTemporaryDir folder_;
    QString previous_folder_;
    const TestEngineControl* control_;
    std::unique_ptr<MainWindow> window_;
};
