// The playback dialog, driven like a person drives it.
#include "playback_setting.h"

#include "dialog_driver.h"
#include "main_window_fixture.h"

#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

namespace {

class PlaybackSettingTest : public MainWindowTest {
protected:
    void open_dialog() {
        open_window();
        dialog_ = std::make_unique<playback_setting>(&window());
        dialog_->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(dialog_.get(), patience_ms));
    }
    ~PlaybackSettingTest() override { dialog_.reset(); }
    template <class Widget>
    Widget* part(const char* name) {
        return dialog_->findChild<Widget*>(QLatin1String(name));
    }
    void press(const char* button) { QTest::mouseClick(part<QPushButton>(button), Qt::LeftButton); }
    /// Chooses a file in the chooser that the next press opens; an empty name cancels it.
    void choose(const QString& file) {
        when_dialog_opens<QFileDialog>([file](QFileDialog& chooser) {
            file.isEmpty() ? cancel_chooser(chooser) : choose_path(chooser, file);
        });
        press("browes");
    }
    playbackCfg& section() { return *m_mpCfg->p_playbackCfg; }
    static QJsonObject saved() { return saved_configuration().value(QStringLiteral("playback")).toObject(); }

    std::unique_ptr<playback_setting> dialog_;
};

TEST_F(PlaybackSettingTest, ShowsTheStoredSettingsButNoFile) {
    save_section(QStringLiteral("playback"), {{QStringLiteral("Path"), QStringLiteral("/old.ts")},
                                              {QStringLiteral("Direction"), 1},
                                              {QStringLiteral("Speed"), 2},
                                              {QStringLiteral("is_stream"), 1},
                                              {QStringLiteral("IP"), QStringLiteral("10.0.0.5")},
                                              {QStringLiteral("Port"), 77}});
    open_dialog();
    EXPECT_EQ(dialog_->windowTitle().toStdString(), "Playback");
    EXPECT_EQ(part<QLineEdit>("file")->text().toStdString(), "");
    EXPECT_EQ(part<QComboBox>("dir")->currentText().toStdString(), "Prevward");
    EXPECT_EQ(part<QComboBox>("speed")->currentText().toStdString(), "Fast");
    EXPECT_TRUE(part<QGroupBox>("streaming")->isChecked());
    EXPECT_EQ(part<QLineEdit>("ip")->displayText().toStdString(), "010.000.000.005");
    EXPECT_EQ(part<QLineEdit>("port")->text().toStdString(), "77");
    EXPECT_TRUE(part<QLabel>("warning_file")->isHidden());
}

TEST_F(PlaybackSettingTest, TextsAreTheSystemsOwn) {
    open_dialog();
    EXPECT_EQ(part<QLabel>("label")->text().toStdString(), "File:");
    EXPECT_EQ(part<QLabel>("label_5")->text().toStdString(), "Direction:");
    EXPECT_EQ(part<QLabel>("label_6")->text().toStdString(), "Speed:");
    EXPECT_EQ(part<QLabel>("label_4")->text().toStdString(), "Ip");
    EXPECT_EQ(part<QLabel>("label_3")->text().toStdString(), "Port");
    EXPECT_EQ(part<QGroupBox>("trick_mode_enable")->title().toStdString(), "Trick Mode");
    EXPECT_FALSE(part<QGroupBox>("trick_mode_enable")->isCheckable());
    EXPECT_EQ(part<QGroupBox>("streaming")->title().toStdString(), "Streaming");
    EXPECT_EQ(part<QComboBox>("dir")->itemText(0).toStdString(), "Forword");
    EXPECT_EQ(part<QComboBox>("speed")->itemText(0).toStdString(), "Pause");
    EXPECT_EQ(part<QComboBox>("speed")->itemText(1).toStdString(), "Normal");
    EXPECT_EQ(part<QPushButton>("browes")->text().toStdString(), "...");
    EXPECT_EQ(part<QPushButton>("play")->text().toStdString(), "Play");
    EXPECT_EQ(part<QPushButton>("cancel")->text().toStdString(), "Cancel");
}

TEST_F(PlaybackSettingTest, PlayStoresTheSettingsAndAcceptsWithAFile) {
    save_section(QStringLiteral("playback"),
                 {{QStringLiteral("IP"), QStringLiteral("10.0.0.5")}, {QStringLiteral("is_stream"), 1}});
    open_dialog();
    QTest::keyClicks(part<QLineEdit>("file"), QStringLiteral("/v/film.ts"));
    part<QComboBox>("dir")->setCurrentIndex(1);
    part<QComboBox>("speed")->setCurrentIndex(0);
    part<QLineEdit>("port")->clear();
    QTest::keyClicks(part<QLineEdit>("port"), QStringLiteral("5500"));
    press("play");
    EXPECT_EQ(dialog_->result(), 1);
    EXPECT_FALSE(dialog_->isVisible());
    EXPECT_EQ(section().path.toStdString(), "/v/film.ts");
    EXPECT_EQ(saved().value(QStringLiteral("IP")).toString().toStdString(), "10.0.0.5");
    EXPECT_EQ(saved().value(QStringLiteral("Port")).toInt(), 5500);
    EXPECT_EQ(saved().value(QStringLiteral("Direction")).toInt(), 1);
    EXPECT_EQ(saved().value(QStringLiteral("Speed")).toInt(), 0);
    EXPECT_EQ(saved().value(QStringLiteral("is_trick_mode")).toInt(), 1);
    EXPECT_EQ(saved().value(QStringLiteral("Path")).toString().toStdString(), "/")
        << "reaches the file later";
}

TEST_F(PlaybackSettingTest, PlayWithoutAFileWarnsSavesAndStays) {
    open_dialog();
    part<QComboBox>("dir")->setCurrentIndex(1);
    press("play");
    EXPECT_TRUE(dialog_->isVisible());
    EXPECT_FALSE(part<QLabel>("warning_file")->isHidden());
    EXPECT_EQ(part<QLabel>("warning_file")->text().toStdString(), "*Select File");
    EXPECT_EQ(part<QLabel>("warning_file")->styleSheet().toStdString(), "color: rgb(255, 0, 0);");
    EXPECT_EQ(saved().value(QStringLiteral("Direction")).toInt(), 1);
    EXPECT_EQ(section().path.toStdString(), "/");
}

TEST_F(PlaybackSettingTest, InvalidNumbersBecomeZero) {
    open_dialog();
    part<QLineEdit>("port")->setText(QStringLiteral("many"));
    part<QLineEdit>("ip")->setText(QStringLiteral("999.1..7"));
    press("play");
    EXPECT_EQ(saved().value(QStringLiteral("Port")).toInt(), 0);
    EXPECT_FALSE(saved().value(QStringLiteral("IP")).toString().isEmpty());
}

TEST_F(PlaybackSettingTest, BrowsingTwiceLagsOneChoiceBehind) {
    write_file(QStringLiteral("a.ts"), "a");
    write_file(QStringLiteral("b.ts"), "b");
    open_dialog();
    m_mpCfg->p_recordCfg->directory_path = QDir::currentPath();
    const QString a = QDir::current().filePath(QStringLiteral("a.ts"));
    const QString b = QDir::current().filePath(QStringLiteral("b.ts"));
    choose(a);
    EXPECT_EQ(part<QLineEdit>("file")->text(), a);
    choose(b);
    EXPECT_EQ(part<QLineEdit>("file")->text(), b);
    EXPECT_EQ(section().path, a) << "until Play";
    press("play");
    EXPECT_EQ(section().path, b);
}

TEST_F(PlaybackSettingTest, ACancelledChooserChangesNothing) {
    open_dialog();
    part<QLineEdit>("file")->setText(QStringLiteral("/x.ts"));
    choose(QString{});
    EXPECT_EQ(part<QLineEdit>("file")->text().toStdString(), "/x.ts");
    EXPECT_EQ(section().path.toStdString(), "/");
    EXPECT_TRUE(part<QLabel>("warning_file")->isHidden());
    part<QLineEdit>("file")->clear();
    choose(QString{});
    EXPECT_FALSE(part<QLabel>("warning_file")->isHidden()) << "no file after browsing";
}

TEST_F(PlaybackSettingTest, CancelAndEscapeReject) {
    open_dialog();
    part<QComboBox>("dir")->setCurrentIndex(1);
    press("cancel");
    EXPECT_EQ(dialog_->result(), 0);
    EXPECT_EQ(section().direction, 0);
    dialog_->show();
    QTest::keyClick(dialog_.get(), Qt::Key_Escape);
    EXPECT_FALSE(dialog_->isVisible());
    EXPECT_EQ(dialog_->result(), 0);
}

} // namespace
