// The about dialog, opened from the menu.
#include "aboat.h"

#include "main_window_fixture.h"

#include <QLabel>
#include <QPushButton>
#include <QRegularExpression>
#include <QWindow>

namespace {

class AboatTest : public MainWindowTest {
protected:
    void SetUp() override { open_window(); }

    void open_dialog(const std::function<void(aboat&)>& person) {
        work_in<aboat>("actionAbuat", [&](aboat& dialog) {
            EXPECT_EQ(dialog.parent(), &window());
            EXPECT_TRUE(
                QTest::qWaitFor([&] { return QApplication::activeWindow() == &dialog; }, patience_ms));
            person(dialog);
            dialog.close();
        });
    }
    static QLabel& label(aboat& dialog, const char* name) {
        return *dialog.findChild<QLabel*>(QLatin1String(name));
    }
    static std::string text(aboat& dialog, const char* name) {
        return label(dialog, name).text().toStdString();
    }
    std::string engine_version_text(int version_number) {
        script([&](TestEngineScript& answers) { answers.version = version_number; });
        std::string shown;
        open_dialog([&](aboat& dialog) { shown = text(dialog, "dll_ver_lbl"); });
        return shown;
    }
};

TEST_F(AboatTest, TellsNameVersionsAndBuild) {
    open_dialog([](aboat& dialog) {
        EXPECT_EQ(dialog.windowTitle().toStdString(), "About");
        EXPECT_FALSE(dialog.windowIcon().isNull());
        EXPECT_EQ(text(dialog, "app_name_lbl"), "Zandor Player");
        EXPECT_EQ(label(dialog, "app_name_lbl").styleSheet().toStdString(),
                  " font-size:12pt; font-weight:600; \ncolor: rgb(0, 0, 0);");
        EXPECT_EQ(label(dialog, "symbol").styleSheet().toStdString(),
                  "image: url(:/new/menuebar/bitmap/korvo_player_loggo.png);");
        EXPECT_EQ(text(dialog, "mp_ver_lbl"), "Version: 1.8.2 ");
        EXPECT_EQ(text(dialog, "dll_ver_lbl"), "Dll Version: 1.2.3 ");
        const QRegularExpression build{
            QStringLiteral("^Built on: [A-Z][a-z]{2} [ \\d]\\d \\d{4} \\d\\d:\\d\\d:\\d\\d$")};
        EXPECT_TRUE(build.match(label(dialog, "built_on_lbl").text()).hasMatch())
            << text(dialog, "built_on_lbl");
        EXPECT_EQ(label(dialog, "dll_ver_lbl").font().family().toStdString(), "Verdana");
        EXPECT_EQ(label(dialog, "built_on_lbl").font().family().toStdString(), "Verdana");
        for (const char* name : {"mp_ver_lbl", "dll_ver_lbl", "built_on_lbl"}) {
            EXPECT_EQ(label(dialog, name).font().pointSize(), 10) << name;
        }
    });
}

TEST_F(AboatTest, PutsDotsBetweenTheDigitsOfTheEngineVersion) {
    EXPECT_EQ(engine_version_text(2031), "Dll Version: 2.0.3.1 ");
    EXPECT_EQ(engine_version_text(7), "Dll Version: 7 ");
    EXPECT_EQ(engine_version_text(100), "Dll Version: 1.0.0 ");
    EXPECT_EQ(engine_version_text(0), "Dll Version:  ");
}

TEST_F(AboatTest, WithoutAnEngineTheEngineVersionIsEmpty) {
    remove_engine();
    open_dialog([](aboat& dialog) {
        EXPECT_EQ(text(dialog, "dll_ver_lbl"), "Dll Version:  ");
        EXPECT_EQ(text(dialog, "mp_ver_lbl"), "Version: 1.8.2 ");
    });
    EXPECT_FALSE(last_call("Velmora_get_dll_ver"));
}

TEST_F(AboatTest, ShowsTheSitesNameAndLogo) {
    write_file(QStringLiteral("app_name.txt"), "Field Viewer\n");
    QImage logo{40, 30, QImage::Format_RGB32};
    logo.fill(Qt::red);
    ASSERT_TRUE(logo.save(QStringLiteral("app_logo.png")));
    open_dialog([&](aboat& dialog) {
        EXPECT_EQ(text(dialog, "app_name_lbl"), "Field Viewer\n");
        EXPECT_TRUE(label(dialog, "symbol").styleSheet().isEmpty());
        EXPECT_EQ(label(dialog, "symbol").pixmap(Qt::ReturnByValue).toImage(), logo);
    });
}

TEST_F(AboatTest, ClosesByButtonEnterEscapeAndFrame) {
    open_dialog([](aboat& dialog) {
        QTest::mouseClick(dialog.findChild<QPushButton*>(QStringLiteral("closeBtn")), Qt::LeftButton);
        EXPECT_FALSE(dialog.isVisible());
    });
    for (const auto key : {Qt::Key_Return, Qt::Key_Escape}) {
        open_dialog([key](aboat& dialog) {
            QTest::keyClick(&dialog, key);
            EXPECT_FALSE(dialog.isVisible());
        });
    }
    open_dialog([](aboat& dialog) {
        dialog.windowHandle()->close();
        EXPECT_FALSE(dialog.isVisible());
    });
}

} // namespace
