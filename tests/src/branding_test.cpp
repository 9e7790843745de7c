// What a site may put in the place of the built-in name and logo.
#include "branding.h"

#include "main_window_fixture.h"

#include <QLabel>

namespace {

/// Only the empty working directory of the window's tests is used.
class Branding : public MainWindowTest {
protected:
    Branding() {
        symbol_.setMinimumSize(96, 96);
        symbol_.setStyleSheet(QStringLiteral("color: red;"));
        name_.setText(QStringLiteral("built in"));
    }
    static void write_logo(int width, int height) {
        QImage logo{width, height, QImage::Format_RGB32};
        logo.fill(Qt::green);
        ASSERT_TRUE(logo.save(QStringLiteral("app_logo.png")));
    }

    QLabel symbol_;
    QLabel name_;
};

TEST_F(Branding, WithoutFilesTheBuiltInStays) {
    EXPECT_FALSE(site_name());
    EXPECT_FALSE(site_logo());
    show_branding(symbol_, name_);
    EXPECT_EQ(name_.text().toStdString(), "built in");
    EXPECT_EQ(symbol_.styleSheet().toStdString(), "color: red;");
}

TEST_F(Branding, TheNameIsTheWholeTextOfItsFile) {
    write_file(QStringLiteral("app_name.txt"), "Caf\xc3\xa9 1\r\nline 2\n");
    show_branding(symbol_, name_);
    EXPECT_EQ(name_.text().toStdString(), "Caf\xc3\xa9 1\r\nline 2\n");
    EXPECT_EQ(symbol_.styleSheet().toStdString(), "color: red;") << "there is no logo";
}

TEST_F(Branding, ALogoThatFitsIsShownAsItIs) {
    write_logo(96, 20);
    show_branding(symbol_, name_);
    EXPECT_EQ(symbol_.pixmap(Qt::ReturnByValue).size(), QSize(96, 20));
    EXPECT_TRUE(symbol_.styleSheet().isEmpty());
}

TEST_F(Branding, ALargeLogoShrinksIntoItsPlaceWithItsAspect) {
    write_logo(960, 480);
    show_branding(symbol_, name_);
    EXPECT_EQ(symbol_.pixmap(Qt::ReturnByValue).size(), QSize(96, 48) * symbol_.devicePixelRatioF());
}

TEST_F(Branding, ALogoFileWithoutAPictureLeavesItsPlaceEmpty) {
    write_file(QStringLiteral("app_logo.png"), "no picture");
    show_branding(symbol_, name_);
    EXPECT_TRUE(symbol_.pixmap(Qt::ReturnByValue).isNull());
    EXPECT_TRUE(symbol_.styleSheet().isEmpty());
}

} // namespace
