#include "present/sound_ring.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

using Samples = std::vector<float>;

Samples read(SoundRing& ring, std::size_t frames) {
    Samples samples(frames * output_channels, -1.0F);
    samples.resize(ring.read(samples) * output_channels);
    return samples;
}

TEST(SoundRing, GivesBackWhatWasWrittenAcrossItsEnd) {
    SoundRing ring{4};
    for (int round = 0; round < 7; ++round) {
        const auto value = static_cast<float>(3 * round + 1);
        EXPECT_EQ(ring.write(Samples{value, -value, value + 1, -value - 1, value + 2, -value - 2}), 3U);
        EXPECT_EQ(read(ring, 3), (Samples{value, -value, value + 1, -value - 1, value + 2, -value - 2}));
    }
}

TEST(SoundRing, TakesAndGivesOnlyWhatThereIsRoomForAndWhatIsThere) {
    SoundRing ring{2};
    EXPECT_EQ(ring.write(Samples{1, 1, 2, 2, 3, 3}), 2U);
    EXPECT_EQ(ring.room(), 0U);
    EXPECT_EQ(read(ring, 5), (Samples{1, 1, 2, 2}));
    EXPECT_EQ(ring.size(), 0U);
}

TEST(SoundRing, PutsSilenceOnBothEnds) {
    SoundRing ring{5};
    ring.write(Samples{1, 1});
    EXPECT_EQ(ring.prepend_silence(2), 2U);
    EXPECT_EQ(ring.append_silence(9), 2U);
    EXPECT_EQ(read(ring, 5), (Samples{0, 0, 0, 0, 1, 1, 0, 0, 0, 0}));
}

TEST(SoundRing, DropsTheOldest) {
    SoundRing ring{3};
    ring.write(Samples{1, 1, 2, 2, 3, 3});
    EXPECT_EQ(ring.drop(2), 2U);
    EXPECT_EQ(read(ring, 3), (Samples{3, 3}));
    EXPECT_EQ(ring.drop(1), 0U);
}

} // namespace
} // namespace velmora
