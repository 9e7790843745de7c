// What the sorter tells of streams that it cannot read.
#include "tracks/unit_sorter.h"

#include "ts/packet_builder.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace velmora {
namespace {

using test::Bytes;

constexpr std::uint16_t video_pid = 0x101;
constexpr std::uint16_t sound_pid = 0x102;
constexpr int second = 25;

class ScrambledStream : public testing::Test {
protected:
    void SetUp() override {
        section(0, test::pat({{1, 0x100}}));
        section(0x100, test::pmt(1, {{0x1B, video_pid}, {0x0F, sound_pid}}));
    }

    void section(std::uint16_t pid, const Bytes& bytes) {
        units_.feed(test::parsed(test::packet(pid, 0, true, test::with_pointer(bytes))));
    }

    void send(std::uint16_t pid, int units, bool is_scrambled) {
        for (int i = 0; i < units; ++i) {
            Bytes bytes = test::packet(pid, counter_++, true, test::pes(i, i, Bytes(100, 1)));
            bytes[3] |= is_scrambled ? 0x80U : 0U;
            units_.feed(test::parsed(bytes));
        }
    }

    UnitSorter units_;
    unsigned counter_{0};
};

TEST_F(ScrambledStream, IsToldWhereNothingIsClear) {
    send(video_pid, 3, true);
    EXPECT_FALSE(units_.is_scrambled()) << "for a moment only";
    send(video_pid, second, true);
    EXPECT_TRUE(units_.is_scrambled());
}

TEST_F(ScrambledStream, IsToldOfVideoBesideClearSound) {
    for (int i = 0; i < second; ++i) {
        send(video_pid, 1, true);
        send(sound_pid, 1, false);
    }
    EXPECT_TRUE(units_.is_scrambled());
}

TEST_F(ScrambledStream, IsNotToldOfSoundBesideClearVideo) {
    for (int i = 0; i < second; ++i) {
        send(video_pid, 1, false);
        send(sound_pid, 1, true);
    }
    EXPECT_FALSE(units_.is_scrambled());
}

TEST_F(ScrambledStream, IsOneNoMoreWithWhatIsClear) {
    send(video_pid, second, false);
    EXPECT_FALSE(units_.is_scrambled());
    send(video_pid, second, true);
    EXPECT_TRUE(units_.is_scrambled());
    send(video_pid, 1, false);
    EXPECT_FALSE(units_.is_scrambled());
}

TEST_F(ScrambledStream, IsToldOfSoundAlone) {
    section(0x100, test::pmt(1, {{0x0F, sound_pid}}));
    send(sound_pid, second, true);
    EXPECT_TRUE(units_.is_scrambled());
}

} // namespace
} // namespace velmora
