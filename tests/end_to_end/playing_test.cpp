// A file plays in the window: pictures, pause, slider, end, stop.
#include "player_on_screen.h"

#include "loadlib.h"
#include "player_state.h"
#include "support/stream_maker.h"

#include <QLabel>
#include <QListWidget>

namespace {

StreamRecipe ten_seconds() {
    StreamRecipe recipe;
    recipe.duration = 10;
    recipe.audio = "aac";
    return recipe;
}

using Playing = PlayerOnScreen;

TEST_F(Playing, PicturesMoveForwardOnTheScreen) {
    play(make_stream(ten_seconds()));
    ASSERT_TRUE(wait_until([&] { return number_on_screen().has_value(); }));
    std::uint32_t last = *number_on_screen();
    EXPECT_LT(last, 100U) << "it begins at the beginning";
    for (int step = 0; step < 5; ++step) {
        ASSERT_TRUE(wait_until([&] { return number_on_screen().value_or(0) > last; }));
        last = *number_on_screen();
    }
    ASSERT_TRUE(wait_for_playing());
    EXPECT_TRUE(wait_until([&] { return text("eof_lbl") == QLatin1String("00:10"); }));
    EXPECT_FALSE(shown("symbole"));
    EXPECT_EQ(isPlayback, 1);
}

TEST_F(Playing, TheWindowTakesThePicturesAspect) {
    play(make_stream(ten_seconds()));
    ASSERT_TRUE(wait_until([&] { return width_screen == 640 && height_screen == 360; }));
    EXPECT_EQ(part("playerFrame")->size(), QSize(720, 405));
    EXPECT_TRUE(wait_until([&] { return number_on_screen().has_value(); })) << "and the picture fills it";
}

TEST_F(Playing, PauseFreezesAndPlayGoesOn) {
    play(make_stream(ten_seconds()));
    ASSERT_TRUE(wait_for_playing());
    click("pause");
    ASSERT_TRUE(wait_until([] { return m_info.player_info.state == PLAYRE_STATUS_PAUSING; }));
    const auto frozen = number_on_screen();
    ASSERT_TRUE(frozen);
    QTest::qWait(500);
    EXPECT_EQ(number_on_screen(), frozen);
    click("playButton");
    EXPECT_TRUE(wait_until([&] { return number_on_screen().value_or(0) > *frozen; }));
}

TEST_F(Playing, TheSliderShowsExactlyTheSecondThatWasClicked) {
    play(make_stream(ten_seconds()));
    ASSERT_TRUE(wait_for_playing());
    ASSERT_TRUE(wait_until([&] { return text("eof_lbl") == QLatin1String("00:10"); }));
    click("pause");
    ASSERT_TRUE(wait_until([] { return m_info.player_info.state == PLAYRE_STATUS_PAUSING; }));
    click_slider(4); // a click on the handle seeks nothing: now it is there
    ASSERT_TRUE(wait_until([] { return m_info.player_info.second == 4; }));
    for (const unsigned second : {7U, 2U, 9U}) {
        click_slider(static_cast<int>(second));
        EXPECT_TRUE(wait_for_number(second * 25)) << "second " << second;
        EXPECT_TRUE(wait_until([&] { return m_info.player_info.second == static_cast<int>(second); }));
    }
}

TEST_F(Playing, TheEndLeavesTheLastPictureAndASeekLeadsOn) {
    play(make_stream(ten_seconds()));
    ASSERT_TRUE(wait_for_playing());
    ASSERT_TRUE(wait_until([&] { return text("eof_lbl") == QLatin1String("00:10"); }));
    click_slider(8);
    ASSERT_TRUE(wait_until([] { return m_info.player_info.state == PLAYRE_STATUS_EOF; }));
    EXPECT_TRUE(wait_for_number(249));
    EXPECT_EQ(text("sof_lbl").toStdString(), "00:10");
    EXPECT_EQ(part("eof_lbl")->styleSheet().toStdString(), "color: rgb(250, 0, 0);");
    click_slider(3);
    EXPECT_TRUE(wait_until([&] {
        const auto number = number_on_screen();
        return number && *number >= 75 && *number < 200;
    }));
}

TEST_F(Playing, AResizedWindowScalesThePictureInPause) {
    play(make_stream(ten_seconds()));
    ASSERT_TRUE(wait_for_playing());
    click("pause");
    ASSERT_TRUE(wait_until([] { return m_info.player_info.state == PLAYRE_STATUS_PAUSING; }));
    const auto frozen = number_on_screen();
    ASSERT_TRUE(frozen);
    window().resize(900, 760);
    EXPECT_TRUE(wait_until([&] { return part("playerFrame")->width() == 900; }));
    EXPECT_TRUE(wait_for_number(*frozen));
    click("inBtn");
    EXPECT_TRUE(wait_for_number(*frozen)) << "without the bar";
}

TEST_F(Playing, StopAndStopAllEndIt) {
    play(make_stream(ten_seconds()));
    ASSERT_TRUE(wait_for_playing());
    click("stop");
    EXPECT_TRUE(wait_until([&] { return isPlayback == 0 && shown("playButton"); }));
    EXPECT_FALSE(number_on_screen()) << "the video is hidden";
    play(make_stream(ten_seconds()));
    ASSERT_TRUE(wait_until([&] { return number_on_screen().has_value(); }));
    part<QAction>("actionStop_All")->trigger();
    EXPECT_EQ(m_VidDisp, 0U);
    play(make_stream(ten_seconds()));
    EXPECT_TRUE(wait_until([&] { return number_on_screen().has_value(); })) << "and again";
}

TEST_F(Playing, AFileThatIsNoStreamIsRefused) {
    play("/etc/passwd");
    EXPECT_TRUE(wait_until([] { return open_file_state == OPEN_FAILED; }));
    EXPECT_TRUE(shown("playButton"));
}

} // namespace
