#include "ts/continuity.h"

#include "ts/packet_builder.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

Continuity check(ContinuityWatch& watch, unsigned counter, std::uint16_t pid = 100) {
    return watch.check(test::parsed(test::packet(pid, counter, false, test::Bytes(20, 0))));
}

TEST(Continuity, CountsModuloSixteen) {
    ContinuityWatch watch;
    for (unsigned counter = 5; counter < 40; ++counter) {
        EXPECT_EQ(check(watch, counter), Continuity::in_order);
    }
}

TEST(Continuity, TellsLossAndGoesOn) {
    ContinuityWatch watch;
    check(watch, 1);
    EXPECT_EQ(check(watch, 4), Continuity::broken);
    EXPECT_EQ(check(watch, 5), Continuity::in_order);
}

TEST(Continuity, OneRepetitionIsLegalMoreAreNot) {
    ContinuityWatch watch;
    check(watch, 1);
    EXPECT_EQ(check(watch, 1), Continuity::duplicate);
    EXPECT_EQ(check(watch, 1), Continuity::broken);
    EXPECT_EQ(check(watch, 2), Continuity::in_order);
}

TEST(Continuity, StandsStillWithoutPayload) {
    ContinuityWatch watch;
    check(watch, 1);
    auto bytes = test::packet(100, 1, false, {});
    bytes[3] = 0x21;
    EXPECT_EQ(watch.check(test::parsed(bytes)), Continuity::in_order);
    EXPECT_EQ(check(watch, 2), Continuity::in_order);
}

TEST(Continuity, AnAnnouncedDiscontinuityIsNoLoss) {
    ContinuityWatch watch;
    check(watch, 1);
    auto bytes = test::packet(100, 9, false, test::Bytes(20, 0));
    bytes[5] = 0x80;
    EXPECT_EQ(watch.check(test::parsed(bytes)), Continuity::announced);
    EXPECT_EQ(check(watch, 10), Continuity::in_order);
}

TEST(Continuity, AnAnnouncedJumpOfTheTimeAloneBreaksNothing) {
    ContinuityWatch watch;
    check(watch, 1);
    auto bytes = test::packet(100, 2, false, test::Bytes(20, 0));
    bytes[5] = 0x80;
    EXPECT_EQ(watch.check(test::parsed(bytes)), Continuity::in_order);
}

TEST(Continuity, NullPacketsDoNotCount) {
    ContinuityWatch watch;
    check(watch, 3, null_packet_pid);
    EXPECT_EQ(check(watch, 9, null_packet_pid), Continuity::in_order);
}

} // namespace
} // namespace velmora
