// The player as a person has it: the real window, our own engine, a screen to look at and a mouse.
#pragma once

#include "mainwindow.h"

#include <QAction>
#include <QDialog>
#include <QImage>
#include <QString>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

inline constexpr int patience_ms = 20000;

/// Where SCREENSHOTS names a folder, the screen is kept there at the end of each test and of each dialog.
class PlayerOnScreen : public testing::Test {
protected:
    /// @param board address of the data board; empty: there is none
    explicit PlayerOnScreen(const QString& board = {});
    ~PlayerOnScreen() override;
    void TearDown() override;

    /// Opens a dialog from the menu, lets the person act, and sees to it that it is closed afterwards.
    void in_dialog(const char* action, const std::function<void(QDialog&)>& person);

    /// Media, Play File, the file's name, Play.
    void play(const std::filesystem::path& file);
    void click(const char* button);
    /// Clicks the position slider where `second` stands.
    void click_slider(int second);
    bool shown(const char* widget) const;
    QString text(const char* label) const;
    template <class Widget = QWidget>
    Widget* part(const char* name) const {
        return window_->findChild<Widget*>(QLatin1String(name));
    }
    MainWindow& window() { return *window_; }

    /// Number of the picture that is on the screen now.
    std::optional<std::uint32_t> number_on_screen() const;
    /// Number of a picture that fills the image.
    static std::optional<std::uint32_t> number_in(const QImage& image);
    bool wait_until(const std::function<bool()>& condition) const;
    bool wait_for_number(std::uint32_t number) const;
    bool wait_for_playing() const;

private:
    void keep_screenshot() const;

    QTemporaryDir folder_;
    QString previous_folder_;
    std::unique_ptr<MainWindow> window_;
};
