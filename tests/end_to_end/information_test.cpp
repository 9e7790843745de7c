// Statistics and About with our own engine: what the dialogs show of a file that plays is true.
#include "player_on_screen.h"

#include "player_state.h"
#include "support/stream_maker.h"
#include "support/stream_probe.h"

#include <QDialog>
#include <QLabel>
#include <QPushButton>

#include <cmath>

namespace {

StreamRecipe ten_seconds_with_mp2() {
    StreamRecipe recipe;
    recipe.duration = 10;
    recipe.audio = "mp2";
    return recipe;
}

class Information : public PlayerOnScreen {
protected:
    static QString value(const QDialog& dialog, const char* label) {
        return dialog.findChild<QLabel*>(QLatin1String(label))->text();
    }
    static int number(const QDialog& dialog, const char* label) { return value(dialog, label).toInt(); }
    static int rounded(double number) { return static_cast<int>(std::lround(number)); }
};

TEST_F(Information, StatisticsAgreeWithFfprobeWhileTheFilePlays) {
    const auto file = make_stream(ten_seconds_with_mp2());
    const ProbedStream video{file, "v:0"};
    const ProbedStream audio{file, "a:0"};
    play(file);
    ASSERT_TRUE(wait_for_playing());
    in_dialog("actionStatistic", [&](QDialog& dialog) {
        ASSERT_TRUE(wait_until([&] { return number(dialog, "disFrmLbl") > 25; }));
        EXPECT_EQ(number(dialog, "widthLbl"), rounded(video.number("width")));
        EXPECT_EQ(number(dialog, "heightLbl"), rounded(video.number("height")));
        EXPECT_EQ(number(dialog, "fpsLbl"), rounded(video.number("avg_frame_rate")));
        EXPECT_GT(number(dialog, "bitratLbl"), 0);
        EXPECT_EQ(number(dialog, "decErrorLbl"), 0);
        EXPECT_GE(number(dialog, "decFrmLbl"), number(dialog, "disFrmLbl"));
        EXPECT_EQ(value(dialog, "prot_info_lbl").toStdString(), "PRIVATE") << "a file comes by no protocol";
        EXPECT_EQ(value(dialog, "AudioCodecLeb").toLower().toStdString(), audio.text("codec_name"));
        EXPECT_EQ(number(dialog, "AudioChannelsLeb"), rounded(audio.number("channels")));
        EXPECT_EQ(number(dialog, "AudioRateLeb"), rounded(audio.number("sample_rate")));
        EXPECT_NEAR(number(dialog, "AudioPaketsLeb"), audio.number("bit_rate") / 1000, 2);
        const int decoded = number(dialog, "decFrmLbl");
        EXPECT_TRUE(wait_until([&] { return number(dialog, "decFrmLbl") > decoded; })) << "it is live";
    });
}

TEST_F(Information, ResetClearsTheCounters) {
    const auto file = make_stream(ten_seconds_with_mp2());
    const int pictures = rounded(ProbedStream{file, "v:0"}.number("nb_read_frames"));
    play(file);
    ASSERT_TRUE(wait_until([&] { return text("eof_lbl") == QLatin1String("00:10"); }));
    click_slider(9);
    ASSERT_TRUE(wait_until([] { return m_info.player_info.state == PLAYRE_STATUS_EOF; }));
    in_dialog("actionStatistic", [&](QDialog& dialog) {
        ASSERT_TRUE(wait_until([&] { return number(dialog, "decFrmLbl") > 0; }));
        EXPECT_LE(number(dialog, "decFrmLbl"), pictures);
        QTest::mouseClick(dialog.findChild<QPushButton*>(QStringLiteral("resetStatisticBtn")),
                          Qt::LeftButton);
        EXPECT_TRUE(
            wait_until([&] { return number(dialog, "decFrmLbl") == 0 && number(dialog, "disFrmLbl") == 0; }));
        EXPECT_EQ(number(dialog, "fpsLbl"), 25) << "what is no counter stays";
    });
}

TEST_F(Information, WithoutASessionThereIsNothingToShow) {
    in_dialog("actionStatistic", [&](QDialog& dialog) {
        ASSERT_TRUE(wait_until([&] { return !value(dialog, "widthLbl").isEmpty(); }));
        EXPECT_EQ(value(dialog, "widthLbl").toStdString(), "0");
        EXPECT_EQ(value(dialog, "AudioCodecLeb").toStdString(), "No Audio");
    });
}

TEST_F(Information, AboutTellsOurEnginesVersion) {
    in_dialog("actionAbuat", [&](QDialog& dialog) {
        EXPECT_EQ(value(dialog, "dll_ver_lbl").toStdString(), "Dll Version: 1.0.0 ");
        EXPECT_EQ(value(dialog, "mp_ver_lbl").toStdString(), "Version: 1.8.2 ");
    });
}

} // namespace
