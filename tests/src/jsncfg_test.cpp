#include "jsncfg.h"

#include "src/config_file.h"

#include <QDir>
#include <QJsonArray>
#include <type_traits>

namespace {

class JsnCfg : public ConfigFile {
protected:
    Config m_config{m_file};
};

TEST_F(JsnCfg, AFreshStartHasTheDefaultsAndMakesNoFile) {
    EXPECT_EQ(m_config.load_cfg(), -1);
    m_config.read_cfg();

    const networkCfg& network = *m_config.p_networkCfg;
    EXPECT_EQ(network.ts, TRANSPORT);
    EXPECT_EQ(network.port, 1234);
    EXPECT_EQ(network.mode, UNICAST);
    EXPECT_EQ(network.rtsp_serial_port, 554);
    EXPECT_EQ(network.rtsp_mode, RTSP_UDP);
    EXPECT_EQ(network.is_recording, 0);
    EXPECT_EQ(network.ip, QStringLiteral("225.0.0.1"));
    EXPECT_EQ(network.rtsp_url, QStringLiteral("0.0.0.0"));
    EXPECT_EQ(network.rtsp_sdp, QStringLiteral("mux1.sdp"));
    EXPECT_EQ(network.sync_delay, 0);

    EXPECT_EQ(m_config.p_recordCfg->directory_path, QStringLiteral("/"));
    EXPECT_EQ(m_config.p_recordCfg->trick_mode, 1);

    EXPECT_EQ(m_config.p_volume->volume_val, 30);
    EXPECT_EQ(m_config.p_volume->volume_on, VOLUME_ON);

    const playbackCfg& playback = *m_config.p_playbackCfg;
    EXPECT_EQ(playback.path, QStringLiteral("/"));
    EXPECT_EQ(playback.is_trick_mode, 0);
    EXPECT_EQ(playback.direction, 0);
    EXPECT_EQ(playback.speed, 1);
    EXPECT_EQ(playback.is_stream, 0);
    EXPECT_EQ(playback.ip, QStringLiteral("192.168.0.8"));
    EXPECT_EQ(playback.port, 1234);

    EXPECT_EQ(m_config.p_board_ip->ip, QStringLiteral("0"));

    const stream_data_save& data = *m_config.p_stream_data;
    EXPECT_EQ(data.ip, QStringLiteral("127.0.0.1"));
    EXPECT_EQ(data.is_save_by_file, 0);
    EXPECT_EQ(data.is_send_by_eth, 0);
    EXPECT_EQ(data.file_name, QStringLiteral("/data.bin"));
    EXPECT_EQ(data.port, 1234);

    EXPECT_TRUE(QDir(m_directory.path()).isEmpty(QDir::Files | QDir::Hidden));
}

TEST_F(JsnCfg, NamedConstantsHaveTheStoredValues) {
    EXPECT_EQ(PRIVATE, 0);
    EXPECT_EQ(TRANSPORT, 1);
    EXPECT_EQ(RTP, 2);
    EXPECT_EQ(SPLIT, 3);
    EXPECT_EQ(RTSP, 4);
    EXPECT_EQ(MULTICAST, 0);
    EXPECT_EQ(UNICAST, 1);
    EXPECT_EQ(RTSP_UDP, 0);
    EXPECT_EQ(RTSP_TCP, 1);
    EXPECT_EQ(VOLUME_OFF, 0);
    EXPECT_EQ(VOLUME_ON, 1);
}

TEST_F(JsnCfg, SectionsAreListedInOrderUnderTheirKeys) {
    QStringList keys;
    for (const cfg_list* section : m_config.p_cfg_list) {
        EXPECT_EQ(section->p_cfg, &m_config);
        keys << section->key;
    }
    EXPECT_EQ(keys.join(QLatin1Char(' ')),
              QStringLiteral("network record volume playback board_ip stream_data_save"));
    EXPECT_TRUE(std::has_virtual_destructor_v<cfg_list>);
}

TEST_F(JsnCfg, TheFirstWriteHoldsOnlyItsSection) {
    m_config.load_cfg();
    m_config.p_volume->volume_val = 55;
    m_config.p_volume->volume_on = VOLUME_OFF;
    m_config.p_volume->write();
    const QJsonObject volume{{QStringLiteral("Volume_val"), 55}, {QStringLiteral("Volume_On"), 0}};
    EXPECT_EQ(object(), (QJsonObject{{QStringLiteral("volume"), volume}}));
}

TEST_F(JsnCfg, TheFileIsIndented) {
    m_config.p_board_ip->write();
    EXPECT_EQ(text(), QByteArrayLiteral("{\n    \"board_ip\": {\n        \"IP\": \"0\"\n    }\n}\n"));
}

TEST_F(JsnCfg, WritingAllMakesACompleteFile) {
    m_config.write_cfg();
    QStringList content;
    const QJsonObject top = object();
    for (auto section = top.begin(); section != top.end(); ++section) {
        content << section.key() + QLatin1Char(':') + section->toObject().keys().join(QLatin1Char(','));
    }
    EXPECT_EQ(content, (QStringList{
                           QStringLiteral("board_ip:IP"),
                           QStringLiteral("network:IP,Mode,Port,Transport,do_record,rtsp_mode,rtsp_sdp,"
                                          "rtsp_serial_port,rtsp_url,sync_delay"),
                           QStringLiteral("playback:Direction,IP,Path,Port,Speed,is_stream,is_trick_mode"),
                           QStringLiteral("record:Path,Trick_mode"),
                           QStringLiteral("stream_data_save:File_name,IP,Port,is_eth,is_file"),
                           QStringLiteral("volume:Volume_On,Volume_val"),
                       }));
}

TEST_F(JsnCfg, AKeyThatIsPresentChangesOnlyItsMember) {
    put(R"({"network": {"Port": 5000}})");
    EXPECT_EQ(m_config.load_cfg(), 0);
    EXPECT_EQ(m_config.p_networkCfg->port, 5000);
    EXPECT_EQ(m_config.p_networkCfg->ip, QStringLiteral("225.0.0.1"));
    EXPECT_EQ(m_config.p_networkCfg->rtsp_serial_port, 554);
}

TEST_F(JsnCfg, KeysThatDifferFromTheirMembersAreKept) {
    put(R"({"network": {"Transport": 4, "do_record": 1}, "stream_data_save": {"is_eth": 1, "is_file": 0}})");
    m_config.load_cfg();
    EXPECT_EQ(m_config.p_networkCfg->ts, RTSP);
    EXPECT_EQ(m_config.p_networkCfg->is_recording, 1);
    EXPECT_EQ(m_config.p_stream_data->is_send_by_eth, 1);
    EXPECT_EQ(m_config.p_stream_data->is_save_by_file, 0);
    m_config.p_stream_data->write();
    const QJsonObject data = object().value(QStringLiteral("stream_data_save")).toObject();
    EXPECT_EQ(data.value(QStringLiteral("is_eth")), 1);
    EXPECT_EQ(data.value(QStringLiteral("is_file")), 0);
}

TEST_F(JsnCfg, ALaterLoadReplacesTheDocumentAndKeepsMembersItLacks) {
    put(R"({"board_ip": {"IP": "10.0.0.1"}, "volume": {"Volume_val": 5}})");
    m_config.load_cfg();
    put(R"({"volume": {"Volume_val": 6}})");
    m_config.load_cfg();
    EXPECT_EQ(m_config.p_volume->volume_val, 6);
    EXPECT_EQ(m_config.p_board_ip->ip, QStringLiteral("10.0.0.1"));
    EXPECT_FALSE(m_config.json_doc.object().contains(QStringLiteral("board_ip")));
}

TEST_F(JsnCfg, AnUnknownTopLevelMemberSurvivesAWriteAndAnUnknownKeyOfTheSectionDoesNot) {
    put(R"({"network": {"Port": 1, "unknown": 2}, "future": {"deep": [1, {"x": null}]}, "volume": {"odd": 3}})");
    m_config.load_cfg();
    m_config.p_networkCfg->write();
    const QJsonObject top = object();
    const QJsonObject deep{
        {QStringLiteral("deep"), QJsonArray{1, QJsonObject{{QStringLiteral("x"), QJsonValue::Null}}}}};
    EXPECT_EQ(top.value(QStringLiteral("future")), deep);
    EXPECT_FALSE(top.value(QStringLiteral("network")).toObject().contains(QStringLiteral("unknown")));
    EXPECT_EQ(top.value(QStringLiteral("volume")), (QJsonObject{{QStringLiteral("odd"), 3}}));
}

TEST_F(JsnCfg, RemovingASectionLeavesTheOthersAndTheMembers) {
    m_config.p_volume->volume_val = 11;
    m_config.write_cfg();
    m_config.p_volume->remove();
    EXPECT_FALSE(object().contains(QStringLiteral("volume")));
    EXPECT_EQ(object().size(), 5);
    EXPECT_EQ(m_config.p_volume->volume_val, 11);
}

TEST_F(JsnCfg, RemovingTheFileKeepsDocumentAndMembers) {
    m_config.p_volume->volume_val = 11;
    m_config.write_cfg();
    m_config.remove_file();
    EXPECT_FALSE(exists());
    EXPECT_EQ(m_config.json_doc.object().size(), 6);
    m_config.p_board_ip->write();
    EXPECT_EQ(object().size(), 6);
}

TEST_F(JsnCfg, TheBaseSectionDoesNothing) {
    cfg_list base(&m_config);
    base.read();
    base.write();
    EXPECT_TRUE(base.key.isEmpty());
    EXPECT_FALSE(exists());
}

} // namespace
