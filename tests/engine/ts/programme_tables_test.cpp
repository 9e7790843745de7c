#include "ts/programme_tables.h"

#include "ts/packet_builder.h"
#include "ts/stream_selection.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

using test::Bytes;

bool feed_section(auto& tables, std::uint16_t pid, const Bytes& section) {
    return tables.feed(test::parsed(test::packet(pid, 0, true, test::with_pointer(section))));
}

TEST(ProgrammeTables, FollowPatAndPmt) {
    ProgrammeTables tables;
    EXPECT_TRUE(feed_section(tables, 0, test::pat({{1, 0x100}})));
    EXPECT_FALSE(tables.complete());
    EXPECT_TRUE(feed_section(tables, 0x100, test::pmt(1, {{0x1B, 0x101}, {0x0F, 0x102}})));
    EXPECT_TRUE(tables.complete());
    const auto programmes = tables.programmes();
    ASSERT_EQ(programmes.size(), 1U);
    ASSERT_EQ(programmes[0].streams.size(), 2U);
    EXPECT_EQ(programmes[0].streams[0].codec, AV_CODEC_ID_H264);
    EXPECT_EQ(programmes[0].streams[1].codec, AV_CODEC_ID_AAC);
    EXPECT_FALSE(feed_section(tables, 0x100, test::pmt(1, {{0x1B, 0x101}, {0x0F, 0x102}}))) << "nothing new";
    EXPECT_TRUE(feed_section(tables, 0x100, test::pmt(1, {{0x24, 0x101}}))) << "another content";
}

TEST(ProgrammeTables, IgnoreDamageOtherTablesAndTablesToCome) {
    ProgrammeTables tables;
    Bytes damaged = test::pat({{1, 0x100}});
    damaged[9] ^= 1U;
    EXPECT_FALSE(feed_section(tables, 0, damaged));
    EXPECT_FALSE(feed_section(tables, 0, test::pat({{1, 0x100}}, false)));
    EXPECT_TRUE(feed_section(tables, 0, test::pat({{1, 0x100}})));
    EXPECT_FALSE(feed_section(tables, 0x100, test::section(0xFC, Bytes(30, 0)))); // SCTE-35 on the PMT's PID
    EXPECT_FALSE(feed_section(tables, 0x100, test::pmt(9, {{0x1B, 0x101}})))
        << "of a programme not in the PAT";
}

TEST(ProgrammeTables, FollowMapsThatShareOnePid) {
    ProgrammeTables tables;
    feed_section(tables, 0, test::pat({{1, 0x100}, {2, 0x100}}));
    EXPECT_TRUE(feed_section(tables, 0x100, test::pmt(2, {{0x1B, 0x201}})));
    EXPECT_FALSE(tables.complete());
    EXPECT_TRUE(feed_section(tables, 0x100, test::pmt(1, {{0x1B, 0x101}})));
    ASSERT_TRUE(tables.complete());
    EXPECT_EQ(tables.programmes()[0].number, 1);
}

TEST(ProgrammeTables, PutASectionTogetherFromSeveralPackets) {
    ProgrammeTables tables;
    feed_section(tables, 0, test::pat({{1, 0x100}}));
    const Bytes descriptors(200, 0);
    const Bytes payload = test::with_pointer(test::pmt(1, {{0x1B, 0x101}, {0x06, 0x102, descriptors}}));
    const Bytes first(payload.begin(), payload.begin() + 184);
    const Bytes second(payload.begin() + 184, payload.end());
    EXPECT_FALSE(tables.feed(test::parsed(test::packet(0x100, 0, true, first))));
    EXPECT_TRUE(tables.feed(test::parsed(test::packet(0x100, 1, false, second))));
}

TEST(ElementaryStreams, AreRecognisedByTypeAndDescriptors) {
    const auto codec = [](std::uint8_t type, const Bytes& descriptors) {
        return describe_elementary_stream(type, 0x101, descriptors).codec;
    };
    EXPECT_EQ(codec(0x02, {}), AV_CODEC_ID_MPEG2VIDEO);
    EXPECT_EQ(codec(0x24, {}), AV_CODEC_ID_HEVC);
    EXPECT_EQ(codec(0x81, {}), AV_CODEC_ID_AC3);
    EXPECT_EQ(codec(0x06, {0x6A, 1, 0}), AV_CODEC_ID_AC3);
    EXPECT_EQ(codec(0x06, {0x7A, 1, 0}), AV_CODEC_ID_EAC3);
    EXPECT_EQ(codec(0x06, {0x05, 4, 'O', 'p', 'u', 's', 0x7F, 2, 0x80, 2}), AV_CODEC_ID_OPUS);
    EXPECT_EQ(codec(0x06, {0x05, 4, 'K', 'L', 'V', 'A'}), AV_CODEC_ID_SMPTE_KLV);
    EXPECT_EQ(codec(0x15, {}), AV_CODEC_ID_SMPTE_KLV);
    EXPECT_EQ(describe_elementary_stream(0x86, 0x101, {}).kind, StreamKind::unknown);
    EXPECT_EQ(codec(0x10, {}), AV_CODEC_ID_MPEG4);
    EXPECT_EQ(codec(0x42, {}), AV_CODEC_ID_CAVS);
    EXPECT_EQ(codec(0xEA, {}), AV_CODEC_ID_VC1);
    EXPECT_EQ(codec(0x88, {0x05, 4, 'V', 'C', '-', '1'}), AV_CODEC_ID_VC1) << "a type of its user's own";
    EXPECT_EQ(codec(0x06, {0x05, 4, 'B', 'S', 'S', 'D'}), AV_CODEC_ID_S302M);
    EXPECT_EQ(codec(0x06, {0x05, 4, 'D', 'T', 'S', '2'}), AV_CODEC_ID_DTS);
    EXPECT_EQ(codec(0x06, {0x7B, 1, 0}), AV_CODEC_ID_DTS);
    EXPECT_EQ(codec(0x06, {0x7F, 2, 0x0E, 0}), AV_CODEC_ID_DTS);
    EXPECT_EQ(codec(0x06, {0x7C, 1, 0}), AV_CODEC_ID_AAC);
    EXPECT_EQ(codec(0x06, {0x05, 200, 'K'}), AV_CODEC_ID_BIN_DATA) << "a descriptor beyond its loop";
}

TEST(ElementaryStreams, AreOthersOnBluRayDiscs) {
    const std::uint32_t blu_ray = registered_format(Bytes{0x05, 4, 'H', 'D', 'M', 'V'});
    const auto codec = [&](std::uint8_t type) {
        return describe_elementary_stream(type, 0x101, {}, blu_ray).codec;
    };
    EXPECT_EQ(codec(0x80), AV_CODEC_ID_PCM_BLURAY);
    EXPECT_EQ(codec(0x86), AV_CODEC_ID_DTS);
    EXPECT_EQ(codec(0x1B), AV_CODEC_ID_H264);
    EXPECT_EQ(describe_elementary_stream(0x80, 0x101, {}).codec, AV_CODEC_ID_MPEG2VIDEO);
}

/// Unit starts on a PID, as many as asked for.
void begin_units(ProgrammeChooser& chooser, std::uint16_t pid, int count) {
    for (int i = 0; i < count; ++i) {
        chooser.feed(test::parsed(test::packet(pid, 0, true, test::pes(0, 0, {}))));
    }
}

TEST(ProgrammeChooser, TakesTheFirstPlayableProgrammeThatIsSent) {
    ProgrammeChooser chooser;
    feed_section(chooser, 0, test::pat({{1, 0x100}, {2, 0x200}, {3, 0x300}}));
    feed_section(chooser, 0x100, test::pmt(1, {{0x86, 0x101}}));
    feed_section(chooser, 0x200, test::pmt(2, {{0x1B, 0x201}}));
    feed_section(chooser, 0x300, test::pmt(3, {{0x1B, 0x301}}));
    begin_units(chooser, 0x301, 1);
    EXPECT_FALSE(chooser.selection()) << "the second programme may still come";
    begin_units(chooser, 0x201, 1);
    ASSERT_TRUE(chooser.selection());
    EXPECT_EQ(chooser.selection()->programme, 2);
}

TEST(ProgrammeChooser, LiveTakesTheFirstProgrammeWhoseKeyPictureIsThere) {
    ProgrammeChooser chooser;
    chooser.take_first_there();
    feed_section(chooser, 0, test::pat({{1, 0x100}, {2, 0x200}, {3, 0x300}}));
    feed_section(chooser, 0x200, test::pmt(2, {{0x1B, 0x201}}));
    feed_section(chooser, 0x300, test::pmt(3, {{0x1B, 0x301}}));
    const Bytes other_picture{0, 0, 1, 0x41, 0x9A, 0, 0, 0};
    const Bytes key_picture{0, 0, 1, 0x65, 0x88, 0, 0, 0};
    const auto begin = [&](std::uint16_t pid, const Bytes& picture) {
        chooser.feed(test::parsed(test::packet(pid, 0, true, test::pes(0, 0, picture))));
    };
    begin(0x301, other_picture);
    EXPECT_FALSE(chooser.selection()) << "another one may be there";
    ProgrammeChooser alone = chooser;
    begin(0x201, other_picture);
    begin(0x301, key_picture);
    ASSERT_TRUE(chooser.selection());
    EXPECT_EQ(chooser.selection()->programme, 2) << "it is there, too, and named earlier";
    alone.feed(test::parsed(test::packet(0x301, 0, true, test::pes(0, 0, key_picture))));
    ASSERT_TRUE(alone.selection());
    EXPECT_EQ(alone.selection()->programme, 3);
}

TEST(ProgrammeChooser, DoesNotWaitForeverForAProgrammeThatIsNotSent) {
    ProgrammeChooser chooser;
    feed_section(chooser, 0, test::pat({{1, 0x100}, {2, 0x200}}));
    feed_section(chooser, 0x100, test::pmt(1, {{0x1B, 0x101}}));
    feed_section(chooser, 0x200, test::pmt(2, {{0x1B, 0x201}}));
    begin_units(chooser, 0x201, 6000);
    ASSERT_TRUE(chooser.selection());
    EXPECT_EQ(chooser.selection()->programme, 2);
}

TEST(ProgrammeChooser, DropsVideoThatIsAnnouncedButNotSent) {
    ProgrammeChooser chooser;
    feed_section(chooser, 0, test::pat({{1, 0x100}}));
    feed_section(chooser, 0x100, test::pmt(1, {{0x1B, 0x101}, {0x0F, 0x102}}));
    begin_units(chooser, 0x102, 1);
    ASSERT_TRUE(chooser.selection());
    EXPECT_TRUE(chooser.selection()->video);
    begin_units(chooser, 0x102, 30);
    EXPECT_FALSE(chooser.selection()->video);
}

TEST(ProgrammeChooser, TakesVideoUpWhenItIsSentAfterAll) {
    ProgrammeChooser chooser;
    feed_section(chooser, 0, test::pat({{1, 0x100}}));
    feed_section(chooser, 0x100, test::pmt(1, {{0x1B, 0x101}, {0x0F, 0x102}}));
    begin_units(chooser, 0x102, 30);
    ASSERT_FALSE(chooser.selection()->video);
    begin_units(chooser, 0x101, 1);
    EXPECT_TRUE(chooser.selection()->video);
}

TEST(ProgrammeChooser, TakesDataAloneOnlyWhereNoProgrammeIsPlayable) {
    ProgrammeChooser chooser;
    feed_section(chooser, 0, test::pat({{1, 0x100}, {2, 0x200}}));
    feed_section(chooser, 0x100, test::pmt(1, {{0x15, 0x101}}));
    EXPECT_FALSE(chooser.selection()) << "the second may be playable";
    ProgrammeChooser other = chooser;
    feed_section(chooser, 0x200, test::pmt(2, {{0x9B, 0x201}}));
    ASSERT_TRUE(chooser.selection());
    EXPECT_EQ(chooser.selection()->leading().pid, 0x101);
    feed_section(other, 0x200, test::pmt(2, {{0x1B, 0x201}}));
    EXPECT_FALSE(other.selection()) << "it is";
}

TEST(ProgrammeChooser, WaitsForTheTableOfTheProgrammeInForce) {
    StreamSelection in_force;
    in_force.programme = 2;
    in_force.video = describe_elementary_stream(0x1B, 0x201, {});
    ProgrammeChooser chooser;
    chooser.restart(&in_force);
    feed_section(chooser, 0, test::pat({{1, 0x100}, {2, 0x200}}));
    EXPECT_FALSE(feed_section(chooser, 0x100, test::pmt(1, {{0x1B, 0x101}})));
    EXPECT_EQ(chooser.selection(), in_force);
    feed_section(chooser, 0x200, test::pmt(2, {{0x1B, 0x201}}));
    EXPECT_EQ(chooser.selection(), in_force);
}

TEST(ProgrammeChooser, LeavesAProgrammeThatTheTablesDoNotNameAnyMore) {
    StreamSelection in_force;
    in_force.programme = 2;
    in_force.video = describe_elementary_stream(0x1B, 0x201, {});
    ProgrammeChooser chooser;
    chooser.restart(&in_force);
    feed_section(chooser, 0, test::pat({{1, 0x100}}));
    EXPECT_TRUE(feed_section(chooser, 0x100, test::pmt(1, {{0x1B, 0x101}})));
    EXPECT_EQ(chooser.selection()->video->pid, 0x101);
}

} // namespace
} // namespace velmora
