#include "present/sound_feeder.h"

#include "support/sound_source.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace velmora {
namespace {

using namespace std::chrono_literals;
using test::at_seconds;
using test::SoundSource;

constexpr std::size_t block_frames = 1024;
constexpr float pulse = 0.9F;

/// One sample out of 24000 stands out, at each half second of the timeline.
float pulses(double position) {
    const double half_seconds = position * 2;
    return std::abs(half_seconds - std::round(half_seconds)) < 0.5 / test::source_rate ? pulse : 0.0F;
}

float hum(double position) {
    return 0.5F * static_cast<float>(std::sin(position * 2000));
}

/// A device with a clock of its own, a feeding thread and a decoder, in time that passes as the test wants.
class Simulation {
public:
    explicit Simulation(SoundSource source, double device_rate_error = 0.0)
        : source_{std::move(source)}, block_time_{std::chrono::duration_cast<SteadyClock::duration>(Seconds{
                                          block_frames / (output_rate * (1.0 + device_rate_error))})} {}

    void run(Seconds duration) {
        const SteadyTime end = now + std::chrono::duration_cast<SteadyClock::duration>(duration);
        while (now < end) {
            now += 1ms;
            if (has_device && now >= fetch_at_) {
                fetch();
            }
            if (now >= feed_at_) {
                feed_at_ = now + 10ms;
                feed();
            }
        }
    }

    /// How much too early each pulse heard since `since` was.
    std::vector<double> pulse_offsets(SteadyTime since) const {
        std::vector<double> offsets;
        for (const SteadyTime time : pulses_heard_) {
            if (time >= since) {
                const double position = test::in_seconds(clock.position(time));
                offsets.push_back(std::round(position * 2) / 2 - position);
            }
        }
        return offsets;
    }

    /// Loudest sample heard between two times.
    float peak(SteadyTime from, SteadyTime to) const {
        float loudest = 0;
        for (const auto& [time, level] : blocks_) {
            if (time >= from && time < to) {
                loudest = std::max(loudest, level);
            }
        }
        return loudest;
    }

    void put(SoundSource source) { source_ = std::move(source); }

    SteadyTime now{1000s};
    PlayClock clock;
    SoundQueue queue{10};
    SoundOutlet outlet;
    SoundFeeder feeder{outlet};
    bool has_device{true};
    bool has_source{true};

private:
    void feed() {
        if (has_source) {
            source_.fill(queue);
        }
        feeder.feed(clock, now);
        while (feeder.hungry()) {
            auto frame = queue.try_pop();
            if (!frame) {
                break;
            }
            feeder.accept(std::move(*frame));
            feeder.feed(clock, now);
        }
    }

    void fetch() {
        fetch_at_ = std::max(fetch_at_, now - 1ms) + block_time_;
        std::vector<float> samples(block_frames * output_channels);
        outlet.fetch(samples, now);
        // What is fetched is heard when the block before it has ended.
        const SteadyTime heard = now + block_time_;
        float loudest = 0;
        for (std::size_t i = 0; i < block_frames; ++i) {
            const float sample = std::abs(samples[i * output_channels]);
            loudest = std::max(loudest, sample);
            const SteadyTime time = heard + block_time_ * i / block_frames;
            if (sample > pulse / 2 && (pulses_heard_.empty() || time - pulses_heard_.back() > 10ms)) {
                pulses_heard_.push_back(time);
            }
        }
        blocks_.emplace_back(heard, loudest);
    }

    SoundSource source_;
    SteadyClock::duration block_time_;
    SteadyTime fetch_at_{};
    SteadyTime feed_at_{};
    std::vector<SteadyTime> pulses_heard_;
    std::vector<std::pair<SteadyTime, float>> blocks_;
};

void expect_on_time(const std::vector<double>& offsets, std::size_t count, double tolerance) {
    EXPECT_GE(offsets.size(), count);
    for (const double offset : offsets) {
        EXPECT_LT(std::abs(offset), tolerance);
    }
}

TEST(SoundFeeder, LetsSoundBeHeardWhenTheClockSaysItsPosition) {
    Simulation simulation{SoundSource{7.0, pulses}};
    simulation.run(Seconds{0.1});
    simulation.clock.anchor(at_seconds(7.0), 1.0, simulation.now);
    const SteadyTime start = simulation.now;
    simulation.run(Seconds{10});
    expect_on_time(simulation.pulse_offsets(start), 18, 0.005);
    ASSERT_TRUE(simulation.feeder.offset());
    EXPECT_LT(std::abs(simulation.feeder.offset()->count()), 0.005);
}

class SoundFeederDrift : public testing::TestWithParam<double> {};

TEST_P(SoundFeederDrift, FollowsADeviceWhoseClockIsWrong) {
    Simulation simulation{SoundSource{0.0, pulses}, GetParam()};
    simulation.run(Seconds{0.1});
    simulation.clock.anchor(at_seconds(0.0), 1.0, simulation.now);
    simulation.run(Seconds{3});
    const SteadyTime settling = simulation.now;
    simulation.run(Seconds{27});
    const SteadyTime settled = simulation.now;
    simulation.run(Seconds{90});
    expect_on_time(simulation.pulse_offsets(settling), 225, 0.040);
    expect_on_time(simulation.pulse_offsets(settled), 175, 0.010);
}

INSTANTIATE_TEST_SUITE_P(UpToOnePercent, SoundFeederDrift, testing::Values(-0.01, -0.002, 0.005, 0.01));

TEST(SoundFeeder, JumpsWhenTheDeviceIsTooFarOffToBeFollowed) {
    for (const double error : {-0.08, 0.08}) {
        Simulation simulation{SoundSource{0.0, pulses}, error};
        simulation.run(Seconds{0.1});
        simulation.clock.anchor(at_seconds(0.0), 1.0, simulation.now);
        const SteadyTime start = simulation.now;
        simulation.run(Seconds{60});
        expect_on_time(simulation.pulse_offsets(start), 90, 0.130);
    }
}

TEST(SoundFeeder, IsSilentInPauseAndGoesOnInPlace) {
    Simulation simulation{SoundSource{0.0, hum}};
    simulation.run(Seconds{0.1});
    simulation.clock.anchor(at_seconds(0.0), 1.0, simulation.now);
    simulation.run(Seconds{2.3});
    simulation.clock.set_rate(0.0, simulation.now);
    const SteadyTime paused = simulation.now;
    simulation.run(Seconds{2});
    EXPECT_GT(simulation.peak(paused - 100ms, paused), 0.4F);
    EXPECT_EQ(simulation.peak(paused + 100ms, simulation.now), 0.0F);

    simulation.clock.set_rate(1.0, simulation.now);
    const SteadyTime resumed = simulation.now;
    simulation.run(Seconds{1});
    EXPECT_GT(simulation.peak(resumed, resumed + 200ms), 0.4F);
    EXPECT_LT(std::abs(simulation.feeder.offset()->count()), 0.010);
}

TEST(SoundFeeder, IsOnTimeRightAfterAPause) {
    Simulation simulation{SoundSource{0.0, pulses}};
    simulation.run(Seconds{0.1});
    simulation.clock.anchor(at_seconds(0.0), 1.0, simulation.now);
    simulation.run(Seconds{2.3});
    simulation.clock.set_rate(0.0, simulation.now);
    simulation.run(Seconds{1});
    simulation.clock.set_rate(1.0, simulation.now);
    const SteadyTime resumed = simulation.now;
    simulation.run(Seconds{3});
    expect_on_time(simulation.pulse_offsets(resumed), 5, 0.010);
}

TEST(SoundFeeder, IsSilentAtEveryOtherRateAndComesBack) {
    for (const double rate : {2.0, 16.0, -1.0, 0.5}) {
        Simulation simulation{SoundSource{100.0, hum}};
        simulation.run(Seconds{0.1});
        simulation.clock.anchor(at_seconds(100.0), 1.0, simulation.now);
        simulation.run(Seconds{1});
        simulation.clock.set_rate(rate, simulation.now);
        const SteadyTime changed = simulation.now;
        simulation.run(Seconds{1});
        EXPECT_EQ(simulation.peak(changed + 100ms, simulation.now), 0.0F) << rate;

        const double position = test::in_seconds(simulation.clock.position(simulation.now));
        simulation.queue.clear();
        simulation.feeder.discard();
        simulation.put(SoundSource{position, hum});
        simulation.clock.set_rate(1.0, simulation.now);
        const SteadyTime back = simulation.now;
        simulation.run(Seconds{1});
        EXPECT_GT(simulation.peak(back, back + 200ms), 0.4F) << rate;
    }
}

TEST(SoundFeeder, TakesSoundAtThePaceOfTheClockWithoutADevice) {
    for (const double rate : {1.0, 2.0}) {
        SoundSource source{0.0, hum};
        Simulation simulation{SoundSource{0.0, hum}};
        simulation.has_device = false;
        simulation.has_source = false;
        simulation.clock.anchor(at_seconds(0.0), rate, simulation.now);
        for (int i = 0; i < 200; ++i) {
            source.fill(simulation.queue);
            simulation.run(Seconds{0.01});
        }
        const double queued = 10 * static_cast<double>(test::source_frame_samples) / test::source_rate;
        EXPECT_NEAR(source.position() - queued, 2.0 * rate, 0.06);
    }
}

TEST(SoundFeeder, GoesOnWithADeviceThatComesLaterOrIsGoneForAWhile) {
    Simulation simulation{SoundSource{0.0, pulses}};
    simulation.has_device = false;
    simulation.clock.anchor(at_seconds(0.0), 1.0, simulation.now);
    simulation.run(Seconds{3.2});
    for (int round = 0; round < 2; ++round) {
        simulation.has_device = true;
        const SteadyTime found = simulation.now;
        simulation.run(Seconds{4});
        expect_on_time(simulation.pulse_offsets(found), 7, 0.010);
        simulation.has_device = false;
        simulation.run(Seconds{3});
    }
}

TEST(SoundFeeder, HearsNothingOfTheOldPlaceAfterADiscard) {
    Simulation simulation{SoundSource{0.0, hum}};
    simulation.run(Seconds{0.1});
    simulation.clock.anchor(at_seconds(0.0), 1.0, simulation.now);
    simulation.run(Seconds{1});
    simulation.has_source = false;
    simulation.queue.clear();
    simulation.feeder.discard();
    const SteadyTime discarded = simulation.now;
    simulation.run(Seconds{1});
    // The block that was fetched already is heard to its end.
    EXPECT_EQ(simulation.peak(discarded + 25ms, simulation.now), 0.0F);
}

TEST(SoundFeeder, LeavesAGapInTheStreamSilent) {
    Simulation simulation{SoundSource{0.0, pulses}};
    simulation.run(Seconds{0.1});
    simulation.clock.anchor(at_seconds(0.0), 1.0, simulation.now);
    simulation.run(Seconds{2.2});
    simulation.queue.clear();
    simulation.put(SoundSource{4.1, pulses});
    const SteadyTime gap = simulation.now;
    simulation.run(Seconds{4});
    const auto offsets = simulation.pulse_offsets(gap);
    expect_on_time(offsets, 4, 0.010);
    EXPECT_LE(offsets.size(), 5U);
}

TEST(SoundFeeder, DropsWhatIsLate) {
    Simulation simulation{SoundSource{0.0, pulses}};
    simulation.run(Seconds{0.1});
    simulation.clock.anchor(at_seconds(5.0), 1.0, simulation.now);
    const SteadyTime start = simulation.now;
    simulation.run(Seconds{3});
    expect_on_time(simulation.pulse_offsets(start), 5, 0.010);
}

TEST(SoundFeeder, FollowsAClockThatIsSetAnew) {
    for (const double jump : {-0.2, 0.2, 1.5}) {
        Simulation simulation{SoundSource{0.0, pulses}};
        simulation.run(Seconds{0.1});
        simulation.clock.anchor(at_seconds(0.0), 1.0, simulation.now);
        simulation.run(Seconds{2.3});
        simulation.clock.anchor(simulation.clock.position(simulation.now) + to_ticks(Seconds{jump}), 1.0,
                                simulation.now);
        simulation.run(Seconds{0.4});
        const SteadyTime settled = simulation.now;
        simulation.run(Seconds{3});
        expect_on_time(simulation.pulse_offsets(settled), 5, 0.030);
    }
}

TEST(SoundFeeder, IsNotHeldUpByAFrameFromTheFarFuture) {
    Simulation simulation{SoundSource{5000.0, pulses}};
    simulation.run(Seconds{0.1});
    simulation.clock.anchor(at_seconds(0.0), 1.0, simulation.now);
    simulation.has_source = false;
    simulation.queue.try_push(SoundSource{5000.0, pulses}.next());
    simulation.run(Seconds{0.3});
    simulation.has_source = true;
    simulation.put(SoundSource{0.3, pulses});
    const SteadyTime start = simulation.now;
    simulation.run(Seconds{3});
    expect_on_time(simulation.pulse_offsets(start), 5, 0.010);
}

} // namespace
} // namespace velmora
