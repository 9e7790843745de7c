// The records that travel to the engine, from sections of the configuration.
#include "engine_records.h"

#include "jsncfg.h"

#include <gtest/gtest.h>

#include <cstddef>

namespace {

class EngineRecords : public testing::Test {
protected:
    Config config_{QStringLiteral("never-written.json")};
};

TEST_F(EngineRecords, DataGoesWhereItsSectionSays) {
    stream_data_save& section = *config_.p_stream_data;
    section.ip = QStringLiteral("10.1.2.3");
    section.port = 4711;
    section.is_send_by_eth = 1;
    section.is_save_by_file = 0;
    section.file_name = QStringLiteral("/data/caf\u00e9.bin");
    const DataRecord record{section};
    EXPECT_EQ(record.setup.ip, 0x0A010203U);
    EXPECT_EQ(record.setup.port, 4711);
    EXPECT_EQ(record.setup.is_send_by_eth, 1);
    EXPECT_EQ(record.setup.is_save_by_file, 0);
    EXPECT_STREQ(record.setup.file_name, "/data/caf\xE9.bin");
}

TEST_F(EngineRecords, AGroupIsNamedInMulticastModeOnly) {
    networkCfg& section = *config_.p_networkCfg;
    section.ip = QStringLiteral("225.0.0.1");
    section.port = 5000;
    section.sync_delay = 40;
    section.mode = MULTICAST;
    EXPECT_EQ(StreamingRecord{section}.setup.multicast_addr, 0xE1000001U);
    section.mode = UNICAST;
    const StreamingRecord record{section};
    EXPECT_EQ(record.setup.multicast_addr, 0U);
    EXPECT_EQ(record.setup.port, 5000);
    EXPECT_EQ(record.setup.sync_delay_ms, 40);
}

TEST_F(EngineRecords, TheServerIsNamedForRtspOnly) {
    networkCfg& section = *config_.p_networkCfg;
    section.rtsp_url = QStringLiteral("10.0.0.9");
    section.rtsp_sdp = QStringLiteral("live.sdp");
    section.rtsp_serial_port = 8554;
    section.ts = RTP;
    const StreamingRecord plain{section};
    EXPECT_EQ(plain.setup.rtsp_url, nullptr);
    EXPECT_EQ(plain.setup.rtsp_sdp, nullptr);
    EXPECT_EQ(plain.setup.rtsp_port, 0);
    section.ts = RTSP;
    const StreamingRecord record{section};
    EXPECT_STREQ(record.setup.rtsp_url, "10.0.0.9");
    EXPECT_STREQ(record.setup.rtsp_sdp, "live.sdp");
    EXPECT_EQ(record.setup.rtsp_port, 8554);
}

TEST_F(EngineRecords, APlaybackTakesItsSectionAsItStands) {
    playbackCfg& section = *config_.p_playbackCfg;
    section.path = QStringLiteral("/video/a.ts");
    section.direction = PLAYER_DIR_PREVWARD;
    section.speed = 1234;
    section.is_trick_mode = 1;
    section.ip = QStringLiteral("239.1.1.1");
    section.port = 6000;
    const auto setup = make_playback_setup(section);
    ASSERT_TRUE(setup);
    EXPECT_STREQ(setup->file_name, "/video/a.ts");
    EXPECT_EQ(setup->direction, PLAYER_DIR_PREVWARD);
    EXPECT_EQ(setup->speed, 1234);
    EXPECT_EQ(setup->is_trick_mode, 1);
    EXPECT_EQ(static_cast<unsigned>(setup->ip), 0xEF010101U);
    EXPECT_EQ(setup->port, 6000);
}

TEST_F(EngineRecords, APlainPlaybackRunsForwardAtNormalSpeed) {
    const auto setup = make_plain_playback_setup(QStringLiteral("/video/a.ts"), true);
    ASSERT_TRUE(setup);
    EXPECT_EQ(setup->direction, PLAYER_DIR_FORWARD);
    EXPECT_EQ(setup->speed, PLAYER_SPD_NORMAL);
    EXPECT_EQ(setup->is_trick_mode, 1);
    EXPECT_EQ(setup->ip, 0);
    EXPECT_EQ(setup->port, 0);
}

TEST_F(EngineRecords, TextsFitWithTheirEndOrNotAtAll) {
    constexpr int room = sizeof playback_setup_t::file_name;
    const QString longest(room - 1, QLatin1Char('p'));
    const auto setup = make_plain_playback_setup(longest, false);
    ASSERT_TRUE(setup);
    EXPECT_EQ(QString::fromLatin1(setup->file_name), longest);
    EXPECT_FALSE(make_plain_playback_setup(longest + QLatin1Char('p'), false));
    config_.p_playbackCfg->path = longest + QLatin1Char('p');
    EXPECT_FALSE(make_playback_setup(*config_.p_playbackCfg));

    recordCfg& section = *config_.p_recordCfg;
    constexpr int directory_room = sizeof record_setup_t::directory_path;
    section.directory_path = QString(directory_room - 1, QLatin1Char('d'));
    section.trick_mode = 1;
    const auto record = make_record_setup(section);
    ASSERT_TRUE(record);
    EXPECT_EQ(record->is_trick_mode, 1);
    EXPECT_EQ(QString::fromLatin1(record->directory_path), section.directory_path);
    section.directory_path += QLatin1Char('d');
    EXPECT_FALSE(make_record_setup(section));
}

} // namespace
