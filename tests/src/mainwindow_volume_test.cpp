// The volume group: level, mute, and what of it survives.
#include "main_window_fixture.h"

#include <QLabel>
#include <QPushButton>
#include <QSlider>

namespace {

QJsonObject volume(int value, int on) {
    return {{QStringLiteral("Volume_val"), value}, {QStringLiteral("Volume_On"), on}};
}

class VolumeTest : public MainWindowTest {
protected:
    std::string label() { return child<QLabel>("volume_lable")->text().toStdString(); }
    std::vector<int> levels() const {
        std::vector<int> levels;
        for (const RecordedCall& call : engine().calls()) {
            if (call.name == "Velmora_set_volume") {
                levels.push_back(call.number);
            }
        }
        return levels;
    }
    static QJsonObject saved() { return saved_configuration().value(QStringLiteral("volume")).toObject(); }
};

TEST_F(VolumeTest, StartsMutedWhenTheStoredLevelIsZero) {
    save_section(QStringLiteral("volume"), volume(0, 0));
    const QByteArray before = QJsonDocument{saved_configuration()}.toJson();
    open_window();
    EXPECT_TRUE(shown("volume_off_btn"));
    EXPECT_FALSE(shown("volume_btn"));
    EXPECT_EQ(label(), "0%");
    EXPECT_EQ(QJsonDocument{saved_configuration()}.toJson(), before) << "the file is not rewritten";
}

TEST_F(VolumeTest, AStoredLevelTurnsTheSoundOnAgain) {
    save_section(QStringLiteral("volume"), volume(40, 0));
    open_window();
    EXPECT_TRUE(shown("volume_btn"));
    EXPECT_FALSE(shown("volume_off_btn"));
    EXPECT_EQ(label(), "40%");
    EXPECT_EQ(saved(), volume(40, 1));
    EXPECT_EQ(av_volume, 40);
    EXPECT_EQ(levels(), (std::vector<int>{40, 40}));
}

TEST_F(VolumeTest, AFreshStartWritesTheVolumeSectionOnly) {
    open_window();
    EXPECT_EQ(saved_configuration().keys(), QStringList{QStringLiteral("volume")});
    EXPECT_EQ(saved(), volume(30, 1));
}

TEST_F(VolumeTest, MovingTheSliderShowsSoundsAndStoresEachStep) {
    open_window();
    engine().forget_calls();
    auto* const slider = child<QSlider>("volume_slider");
    EXPECT_EQ(slider->minimum(), 0);
    EXPECT_EQ(slider->maximum(), 100);
    slider->setFocus();
    for (int step = 1; step <= 3; ++step) {
        QTest::keyClick(slider, Qt::Key_Right);
        EXPECT_EQ(label(), std::to_string(30 + step) + "%");
        EXPECT_EQ(slider->toolTip().toStdString(), label());
        EXPECT_EQ(saved(), volume(30 + step, 1)) << "written once a step";
    }
    EXPECT_EQ(levels(), (std::vector<int>{31, 32, 33}));
}

TEST_F(VolumeTest, MuteKeepsTheLevelAndUnmuteRestoresIt) {
    open_window();
    child<QSlider>("volume_slider")->setValue(65);
    engine().forget_calls();
    click("volume_btn");
    EXPECT_TRUE(shown("volume_off_btn"));
    EXPECT_FALSE(shown("volume_btn"));
    EXPECT_EQ(saved(), volume(65, 0));
    click("volume_off_btn");
    EXPECT_TRUE(shown("volume_btn"));
    EXPECT_EQ(saved(), volume(65, 1));
    EXPECT_EQ(levels(), (std::vector<int>{0, 65}));
}

TEST_F(VolumeTest, TheSliderAlwaysReturnsToSoundOn) {
    open_window();
    click("volume_btn");
    child<QSlider>("volume_slider")->setValue(10);
    EXPECT_TRUE(shown("volume_btn"));
    EXPECT_EQ(saved(), volume(10, 1));
}

TEST_F(VolumeTest, WithoutTheSecondTableOnlyTheWindowChanges) {
    m_velmora_ext = nullptr;
    open_window();
    child<QSlider>("volume_slider")->setValue(12);
    EXPECT_EQ(label(), "12%");
    EXPECT_TRUE(levels().empty());
}

TEST_F(VolumeTest, AShorterSecondTableIsNotReadBeyondItsSize) {
    velmora_ext_t shorter = *m_velmora_ext;
    shorter.size = sizeof shorter.size;
    m_velmora_ext = &shorter;
    open_window();
    child<QSlider>("volume_slider")->setValue(12);
    EXPECT_TRUE(levels().empty());
    close_window();
}

} // namespace
