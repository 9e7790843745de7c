// What is heard: SDL's disk driver writes the samples to a file.
#include "player_on_screen.h"

#include "player_state.h"
#include "support/stream_maker.h"

#include <QFile>
#include <QPushButton>
#include <QSlider>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

namespace {

constexpr int rate = 48000;
constexpr int channels = 2;

class Sound : public PlayerOnScreen {
protected:
    static StreamRecipe tone() {
        StreamRecipe recipe;
        recipe.duration = 10;
        recipe.audio = "aac";
        recipe.tone = 1000;
        return recipe;
    }
    /// The left channel of the last `seconds`.
    static std::vector<float> heard(double seconds) {
        QFile file{qEnvironmentVariable("SDL_DISKAUDIOFILE")};
        if (!file.open(QIODevice::ReadOnly)) {
            return {};
        }
        const auto frame = static_cast<qint64>(sizeof(float)) * channels;
        const qint64 wanted = static_cast<qint64>(seconds * rate) * frame;
        const qint64 size = file.size() / frame * frame;
        file.seek(std::max<qint64>(0, size - wanted));
        const QByteArray bytes = file.read(wanted);
        std::vector<float> samples;
        for (qint64 at = 0; at + frame <= bytes.size(); at += frame) {
            float sample = 0;
            std::memcpy(&sample, bytes.constData() + at, sizeof sample);
            samples.push_back(sample);
        }
        return samples;
    }
    static float peak(double seconds) {
        float most = 0;
        for (const float sample : heard(seconds)) {
            most = std::max(most, std::abs(sample));
        }
        return most;
    }
    /// Zero crossings upwards per second.
    static double frequency(double seconds) {
        const auto samples = heard(seconds);
        int crossings = 0;
        for (std::size_t i = 1; i < samples.size(); ++i) {
            crossings += samples[i - 1] < 0 && samples[i] >= 0 ? 1 : 0;
        }
        return crossings / seconds;
    }
};

TEST_F(Sound, TheToneIsHeardAndPauseIsSilent) {
    part<QSlider>("volume_slider")->setValue(100);
    play(make_stream(tone()));
    ASSERT_TRUE(wait_until([] { return peak(0.5) > 0.05F && heard(0.5).size() > rate / 3; }));
    EXPECT_TRUE(wait_until([] { return std::abs(frequency(0.5) - 1000) < 15; })) << frequency(0.5);
    ASSERT_TRUE(wait_for_playing());
    click("pause");
    ASSERT_TRUE(wait_until([] { return m_info.player_info.state == PLAYRE_STATUS_PAUSING; }));
    EXPECT_TRUE(wait_until([] { return peak(0.3) == 0.0F; }));
    click("playButton");
    EXPECT_TRUE(wait_until([] { return peak(0.2) > 0.05F; }));
}

TEST_F(Sound, TheLevelFollowsTheVolume) {
    part<QSlider>("volume_slider")->setValue(100);
    play(make_stream(tone()));
    // Half a second of even tone: the start is behind.
    ASSERT_TRUE(wait_until([] { return peak(0.5) > 0.05F && std::abs(frequency(0.5) - 1000) < 15; }));
    const float full = peak(0.3);
    part<QSlider>("volume_slider")->setValue(50);
    EXPECT_TRUE(wait_until([&] { return std::abs(peak(0.3) - full / 8) < full / 40; }))
        << "a half, as ears have it";
    click("volume_btn");
    EXPECT_TRUE(wait_until([] { return peak(0.3) == 0.0F; }));
    click("volume_off_btn");
    EXPECT_TRUE(wait_until([&] { return std::abs(peak(0.2) - full / 8) < full / 40; }));
}

} // namespace
