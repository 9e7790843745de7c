// The help dialog, opened from the menu.
#include "help.h"

#include "main_window_fixture.h"

#include <QLabel>
#include <QPushButton>
#include <QTextBlock>
#include <QTextDocument>
#include <QWindow>

namespace {

class HelpTest : public MainWindowTest {
protected:
    void SetUp() override { open_window(); }

    void open_dialog(const std::function<void(help&)>& person) {
        work_in<help>("actionHelp", [&](help& dialog) {
            EXPECT_EQ(dialog.parent(), &window());
            EXPECT_TRUE(
                QTest::qWaitFor([&] { return QApplication::activeWindow() == &dialog; }, patience_ms));
            person(dialog);
            dialog.close();
        });
    }
    static QLabel& label(help& dialog, const char* name) {
        return *dialog.findChild<QLabel*>(QLatin1String(name));
    }
};

TEST_F(HelpTest, ShowsTheIntroduction) {
    open_dialog([](help& dialog) {
        EXPECT_EQ(dialog.windowTitle().toStdString(), "Help");
        EXPECT_FALSE(dialog.windowIcon().isNull());
        EXPECT_EQ(label(dialog, "app_name_lbl").text().toStdString(), "Zandor Player");
        EXPECT_EQ(label(dialog, "symbol").styleSheet().toStdString(),
                  "image: url(:/new/menuebar/bitmap/korvo_player_loggo.png);");
        EXPECT_EQ(label(dialog, "label_4").font().family().toStdString(), "MS Reference Sans Serif");
        QTextDocument document;
        document.setHtml(label(dialog, "label_4").text());
        EXPECT_EQ(document.toPlainText().toStdString(),
                  "Getting Started:\n"
                  "You can open network  streaming. If you want to record\n"
                  "streaming select a directory and press record. the button\n"
                  "will flash during the recording.\n"
                  "If recording failed  check if the directory path is invalid. \n"
                  "The file name is time and date.\n");
        const QTextDocument* const shown = &document;
        EXPECT_EQ(shown->begin().begin().fragment().charFormat().fontWeight(), 75) << "the heading is bold";
    });
}

TEST_F(HelpTest, ShowsTheSitesNameAndLogo) {
    write_file(QStringLiteral("app_name.txt"), "Field Viewer\nSecond line\n");
    QImage logo{40, 30, QImage::Format_RGB32};
    logo.fill(Qt::blue);
    ASSERT_TRUE(logo.save(QStringLiteral("app_logo.png")));
    open_dialog([&](help& dialog) {
        EXPECT_EQ(label(dialog, "app_name_lbl").text().toStdString(), "Field Viewer\nSecond line\n");
        EXPECT_TRUE(label(dialog, "symbol").styleSheet().isEmpty());
        EXPECT_EQ(label(dialog, "symbol").pixmap(Qt::ReturnByValue).toImage(), logo);
    });
}

TEST_F(HelpTest, ClosesByButtonEnterEscapeAndFrame) {
    open_dialog([](help& dialog) {
        QTest::mouseClick(dialog.findChild<QPushButton*>(QStringLiteral("pushButton")), Qt::LeftButton);
        EXPECT_FALSE(dialog.isVisible());
    });
    for (const auto key : {Qt::Key_Return, Qt::Key_Escape}) {
        open_dialog([key](help& dialog) {
            QTest::keyClick(&dialog, key);
            EXPECT_FALSE(dialog.isVisible());
        });
    }
    open_dialog([](help& dialog) {
        dialog.windowHandle()->close();
        EXPECT_FALSE(dialog.isVisible());
    });
}

} // namespace
