// What is heard of a file that plays.
#include "heard_sound.h"
#include "player_on_screen.h"

#include "player_state.h"
#include "support/stream_maker.h"

#include <QSlider>

#include <cmath>

namespace {

class Sound : public PlayerOnScreen {
protected:
    static StreamRecipe tone() {
        StreamRecipe recipe;
        recipe.duration = 60; // longer than a slow machine needs
        recipe.audio = "aac";
        recipe.tone = 1000;
        return recipe;
    }
};

TEST_F(Sound, TheToneIsHeardAndPauseIsSilent) {
    part<QSlider>("volume_slider")->setValue(100);
    play(make_stream(tone()));
    ASSERT_TRUE(
        wait_until([] { return heard::peak(0.5) > 0.05F && heard::samples(0.5).size() > heard::rate / 3; }));
    EXPECT_TRUE(wait_until([] { return std::abs(heard::frequency(0.5) - 1000) < 15; }))
        << heard::frequency(0.5);
    ASSERT_TRUE(wait_for_playing());
    click("pause");
    ASSERT_TRUE(wait_until([] { return m_info.player_info.state == PLAYRE_STATUS_PAUSING; }));
    EXPECT_TRUE(wait_until([] { return heard::peak(0.3) == 0.0F; }));
    click("playButton");
    EXPECT_TRUE(wait_until([] { return heard::peak(0.2) > 0.05F; }));
}

TEST_F(Sound, TheLevelFollowsTheVolume) {
    part<QSlider>("volume_slider")->setValue(100);
    play(make_stream(tone()));
    // Half a second of even tone: the start is behind.
    ASSERT_TRUE(
        wait_until([] { return heard::peak(0.5) > 0.05F && std::abs(heard::frequency(0.5) - 1000) < 15; }));
    const float full = heard::peak(0.3);
    part<QSlider>("volume_slider")->setValue(50);
    EXPECT_TRUE(wait_until([&] { return std::abs(heard::peak(0.3) - full / 8) < full / 40; }))
        << "a half, as ears have it";
    click("volume_btn");
    EXPECT_TRUE(wait_until([] { return heard::peak(0.3) == 0.0F; }));
    click("volume_off_btn");
    EXPECT_TRUE(wait_until([&] { return std::abs(heard::peak(0.2) - full / 8) < full / 40; }));
}

} // namespace
