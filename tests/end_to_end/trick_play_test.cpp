// The speed group and the tags in the window, told from what is on the screen.
#include "player_on_screen.h"

#include "player_state.h"
#include "support/stream_maker.h"

#include <QListWidget>

namespace {

class TrickPlaying : public PlayerOnScreen {
protected:
    /// Plays a file of its own, so that its tags are its own.
    void play_ten_seconds() {
        StreamRecipe recipe;
        recipe.duration = 10;
        recipe.audio = "aac";
        const std::filesystem::path file = scratch_.filePath(QStringLiteral("film.ts")).toStdString();
        std::filesystem::copy_file(make_stream(recipe), file);
        play(file);
        ASSERT_TRUE(wait_for_playing());
        ASSERT_TRUE(wait_until([&] { return text("eof_lbl") == QLatin1String("00:10"); }));
    }
    void pause_at(unsigned second) {
        click("pause");
        ASSERT_TRUE(wait_until([] { return m_info.player_info.state == PLAYRE_STATUS_PAUSING; }));
        // From elsewhere, since a click on the handle seeks nothing.
        constexpr unsigned elsewhere = 9;
        for (const unsigned place : {elsewhere, second}) {
            click_slider(static_cast<int>(place));
            ASSERT_TRUE(wait_until([=] { return m_info.player_info.second == static_cast<int>(place); }));
        }
        ASSERT_TRUE(wait_for_number(second * 25));
    }

private:
    QTemporaryDir scratch_;
};

TEST_F(TrickPlaying, PrevwardRunsBackToTheStartAndNormalLeadsOn) {
    play_ten_seconds();
    pause_at(2);
    click("forward_playback");
    std::uint32_t last = 50;
    for (int step = 0; step < 5; ++step) {
        ASSERT_TRUE(wait_until([&] { return number_on_screen().value_or(1000) < last; }));
        last = *number_on_screen();
    }
    ASSERT_TRUE(wait_until([] { return m_info.player_info.state == PLAYRE_STATUS_SOF; }));
    EXPECT_TRUE(wait_for_number(0));
    EXPECT_EQ(text("sof_lbl").toStdString(), "00:00");
    EXPECT_EQ(part("sof_lbl")->styleSheet().toStdString(), "color: rgb(250, 0, 0);");
    click("forward_playback_2");
    EXPECT_TRUE(wait_until([&] { return number_on_screen().value_or(0) > 10; }));
    EXPECT_TRUE(wait_until([] { return m_info.player_info.state == PLAYRE_STATUS_PLAYING; }));
}

TEST_F(TrickPlaying, FastRacesToTheLastPicture) {
    play_ten_seconds();
    pause_at(1);
    click("fast_playback");
    ASSERT_TRUE(wait_until([] { return m_info.player_info.state == PLAYRE_STATUS_EOF; }));
    EXPECT_TRUE(wait_for_number(249));
    EXPECT_EQ(part("eof_lbl")->styleSheet().toStdString(), "color: rgb(250, 0, 0);");
    click("forward_playback");
    EXPECT_TRUE(wait_until([&] { return number_on_screen().value_or(1000) < 240; }));
}

TEST_F(TrickPlaying, ATagLeadsBackToItsPicture) {
    play_ten_seconds();
    pause_at(7);
    click("tag_playback");
    click_slider(3);
    ASSERT_TRUE(wait_for_number(75));
    click("tag_playback");
    click("tagin_list");
    auto* const list = part<QListWidget>("tag_list");
    ASSERT_EQ(list->count(), 2);
    EXPECT_EQ(list->item(0)->text().toStdString(), "3");
    EXPECT_EQ(list->item(1)->text().toStdString(), "7");
    const QRect second = list->visualItemRect(list->item(1));
    QTest::mouseClick(list->viewport(), Qt::LeftButton, Qt::NoModifier, second.center());
    EXPECT_TRUE(wait_for_number(175));
    EXPECT_FALSE(shown("tag_list"));
}

} // namespace
