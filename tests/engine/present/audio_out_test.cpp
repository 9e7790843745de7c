#include "present/audio_out.h"

#include "present/volume.h"
#include "support/clips.h"
#include "support/sound_source.h"

#include "support/test_time.h"

#include <gtest/gtest.h>

#include <SDL.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <numbers>
#include <thread>
#include <vector>

namespace velmora {
namespace {

using namespace std::chrono_literals;
using test::at_seconds;
using test::SoundSource;

constexpr double tone = 1000.0;
constexpr float amplitude = 0.5F;

float sine(double position) {
    return amplitude * static_cast<float>(std::sin(2 * std::numbers::pi * tone * position));
}

/// Waits for `condition`, up to a time that no working machine needs.
template <class Condition>
bool wait_for(Condition condition) {
    const SteadyTime end = SteadyClock::now() + 20s;
    while (!condition()) {
        if (SteadyClock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(5ms);
    }
    return true;
}

/// Plays a sine from 0 on, fed by a thread as a decoder would, into a file instead of a loudspeaker.
class AudioOutOnDisk : public testing::Test {
protected:
    AudioOutOnDisk() {
        ::setenv("SDL_AUDIODRIVER", "disk", 1);
        ::setenv("SDL_DISKAUDIOFILE", file_.c_str(), 1);
    }
    ~AudioOutOnDisk() override {
        ::unsetenv("SDL_AUDIODRIVER");
        ::unsetenv("SDL_DISKAUDIOFILE");
        set_volume(100);
    }

    void start() {
        clock_->anchor(at_seconds(0), 1.0, SteadyClock::now() + 200ms);
        out_.attach(queue_, clock_);
        producer_ = std::jthread{[this](const std::stop_token& stop) {
            SoundFrame frame = source_.next();
            while (!stop.stop_requested()) {
                if (queue_->try_push(
                        std::move(frame))) { // NOLINT(bugprone-use-after-move): refused, not moved
                    frame = source_.next();
                } else {
                    std::this_thread::sleep_for(2ms);
                }
            }
        }};
    }

    /// Left channel of what the device has got.
    std::vector<float> heard() const {
        const auto bytes = test::read_file(file_);
        constexpr std::size_t frame_size = sizeof(float) * output_channels;
        std::vector<float> left(bytes.size() / frame_size);
        for (std::size_t i = 0; i < left.size(); ++i) {
            std::memcpy(&left[i], &bytes[i * frame_size], sizeof(float));
        }
        return left;
    }

    std::size_t heard_samples() const {
        std::error_code missing;
        const auto size = std::filesystem::file_size(file_, missing);
        return missing ? 0 : size / sizeof(float) / output_channels;
    }

    /// Waits until the device has got this much more.
    void hear(Seconds duration) {
        const std::size_t target = heard_samples() + frames_in(duration);
        ASSERT_TRUE(wait_for([&] { return heard_samples() >= target; }));
    }

    static float peak(std::span<const float> samples) {
        float loudest = 0;
        for (const float sample : samples) {
            loudest = std::max(loudest, std::abs(sample));
        }
        return loudest;
    }

    /// Waits until the last tenth of a second was as loud as this.
    bool wait_for_level(float level, float tolerance) {
        return wait_for([&] {
            const auto samples = heard();
            return samples.size() > 4800 &&
                   std::abs(peak(std::span{samples}.last(4800)) - level) <= tolerance;
        });
    }

    test::ScratchDirectory scratch_;
    std::filesystem::path file_{scratch_.file("heard.raw")};
    SoundSource source_{0.0, sine};
    std::shared_ptr<SoundQueue> queue_{std::make_shared<SoundQueue>(10)};
    std::shared_ptr<SharedPlayClock> clock_{std::make_shared<SharedPlayClock>()};
    MessageBoard messages_{real_time()};
    AudioOut out_{real_time(), messages_};
    std::jthread producer_;
};

TEST_F(AudioOutOnDisk, GivesTheToneToTheDevice) {
    start();
    ASSERT_TRUE(wait_for_level(amplitude, 0.05F));
    hear(Seconds{1});
    const auto samples = heard();
    const auto last = std::span{samples}.last(24000);
    int crossings = 0;
    for (std::size_t i = 1; i < last.size(); ++i) {
        crossings += last[i - 1] < 0 && last[i] >= 0 ? 1 : 0;
    }
    // The sound is stretched a little to follow the device.
    EXPECT_NEAR(crossings, tone / 2, tone / 2 * 0.06);
    EXPECT_TRUE(out_.offset());
}

TEST_F(AudioOutOnDisk, IsSilentInPause) {
    start();
    ASSERT_TRUE(wait_for_level(amplitude, 0.05F));
    clock_->set_rate(0.0, SteadyClock::now());
    EXPECT_TRUE(wait_for_level(0.0F, 0.0F));
    clock_->set_rate(1.0, SteadyClock::now());
    EXPECT_TRUE(wait_for_level(amplitude, 0.05F));
    clock_->set_rate(-1.0, SteadyClock::now());
    EXPECT_TRUE(wait_for_level(0.0F, 0.0F));
}

TEST_F(AudioOutOnDisk, IsAsLoudAsTheVolumeSays) {
    set_volume(50);
    start();
    EXPECT_TRUE(wait_for_level(amplitude * 0.125F, 0.01F));
    set_volume(0);
    EXPECT_TRUE(wait_for_level(0.0F, 0.0F));
    set_volume(100);
    EXPECT_TRUE(wait_for_level(amplitude, 0.05F));
}

TEST_F(AudioOutOnDisk, DoesNotClickWhenTheVolumeChanges) {
    start();
    ASSERT_TRUE(wait_for_level(amplitude, 0.05F));
    hear(Seconds{0.5});
    const std::size_t begin = heard_samples();
    for (const int level : {20, 100, 0, 70}) {
        set_volume(level);
        hear(Seconds{0.2});
    }
    const auto samples = heard();
    // The steepest a sine of this tone gets from sample to sample, with room for stretching and the ramp.
    const float steepest = amplitude * 2 * std::numbers::pi_v<float> * static_cast<float>(tone) / output_rate;
    for (std::size_t i = begin; i < samples.size(); ++i) {
        ASSERT_LT(std::abs(samples[i] - samples[i - 1]), steepest * 1.15F) << "sample " << i;
    }
}

TEST_F(AudioOutOnDisk, FallsSilentWhenDetached) {
    start();
    ASSERT_TRUE(wait_for_level(amplitude, 0.05F));
    out_.detach(*queue_);
    EXPECT_TRUE(wait_for_level(0.0F, 0.0F));
    out_.attach(queue_, clock_);
    EXPECT_TRUE(wait_for_level(amplitude, 0.05F));
}

TEST_F(AudioOutOnDisk, LeavesSignalsToTheProgram) {
    struct sigaction before {};
    ::sigaction(SIGINT, nullptr, &before);
    start();
    ASSERT_TRUE(wait_for_level(amplitude, 0.05F));
    struct sigaction after {};
    ::sigaction(SIGINT, nullptr, &after);
    EXPECT_EQ(before.sa_handler, after.sa_handler);
}

class AudioOutWithDriver : public testing::TestWithParam<const char*> {};

TEST_P(AudioOutWithDriver, TakesSoundAtThePaceOfTheClockAndLeavesNothingOpen) {
    if (GetParam() == nullptr) {
        ::unsetenv("SDL_AUDIODRIVER");
    } else {
        ::setenv("SDL_AUDIODRIVER", GetParam(), 1);
    }
    for (int round = 0; round < 2; ++round) {
        MessageBoard messages{real_time()};
        AudioOut out{real_time(), messages};
        const auto queue = std::make_shared<SoundQueue>(10);
        const auto clock = std::make_shared<SharedPlayClock>();
        SoundSource source{0.0, sine};
        source.fill(*queue);
        out.attach(queue, clock);
        clock->anchor(at_seconds(0), 1.0, SteadyClock::now());
        const double queued = 10 * static_cast<double>(test::source_frame_samples) / test::source_rate;
        ASSERT_TRUE(wait_for([&] {
            source.fill(*queue);
            return source.position() - queued >= 1.0;
        }));
        const double position = test::in_seconds(clock->snapshot().position(SteadyClock::now()));
        EXPECT_GT(position, 0.8) << "no faster than the clock, but for what is buffered";
    }
    EXPECT_EQ(SDL_WasInit(0), 0U);
    ::unsetenv("SDL_AUDIODRIVER");
}

INSTANTIATE_TEST_SUITE_P(AnyOrNone, AudioOutWithDriver,
                         testing::Values(nullptr, "dummy", "there-is-no-such-driver"));

} // namespace
} // namespace velmora
