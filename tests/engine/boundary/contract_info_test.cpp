#include "boundary/contract_info.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <limits>
#include <string>

namespace velmora {
namespace {

using namespace std::chrono_literals;

TEST(ContractInfo, OfNothingIsNothing) {
    KeptNames names;
    const velmora_info_t info = info_of({}, names);
    EXPECT_EQ(info.action_bit, 0);
    EXPECT_EQ(info.active_app, STREAMING_APP);
    EXPECT_EQ(info.player_info.state, PLAYRE_STATUS_OFF);
    EXPECT_EQ(info.record_info.file_name, nullptr);
}

TEST(ContractInfo, OfAFile) {
    KeptNames names;
    SessionReport report;
    report.owner = DisplayOwner::file;
    report.playback.emplace();
    report.playback->state = PlaybackReport::State::at_start;
    report.playback->tempo = {Direction::reverse, Speed::fast};
    report.playback->elapsed = 1999ms;
    report.playback->length = 1h;
    report.playback->is_growing = true;
    report.playback->latin1_path = std::string(300, 'a');
    report.playback->stream.counters.errors = std::numeric_limits<std::uint64_t>::max();
    const velmora_info_t info = info_of(report, names);
    EXPECT_EQ(info.action_bit, 1 << PLAYBACK_BIT);
    EXPECT_EQ(info.active_app, PLAYBACK_APP);
    EXPECT_EQ(info.player_info.state, PLAYRE_STATUS_SOF);
    EXPECT_EQ(info.player_info.sof, 1);
    EXPECT_EQ(info.player_info.eof, 0);
    EXPECT_EQ(info.player_info.direction, PLAYER_DIR_PREVWARD);
    EXPECT_EQ(info.player_info.speed, PLAYER_SPD_FAST);
    EXPECT_EQ(info.player_info.second, 1);
    EXPECT_EQ(info.player_info.total_second, 3600);
    EXPECT_EQ(info.player_info.is_recording, 1);
    EXPECT_EQ(std::string{info.player_info.full_file_name}, std::string(199, 'a')) << "as much as fits";
    EXPECT_EQ(info.get_strm_info.inp_dec_error, std::numeric_limits<std::int32_t>::max());
}

TEST(ContractInfo, OfALiveViewStandsBeforeThatOfAFile) {
    KeptNames names;
    SessionReport report;
    report.is_viewing = true;
    report.playback.emplace();
    report.playback->stream.facts.frame_rate = 50;
    report.live.emplace();
    report.live->stream.facts.frame_rate = 25;
    report.live->stream.facts.bitrate = 7000;
    report.live->reception = {.transport = Transport::rtsp_by_tcp, .sender = 0x7F000001, .bitrate = 8000};
    const velmora_info_t info = info_of(report, names);
    EXPECT_EQ(info.action_bit, 1 << PLAYBACK_BIT | 1 << STREAMING_BIT);
    EXPECT_EQ(info.get_strm_info.inp_fps, 25);
    EXPECT_EQ(info.get_strm_info.imp_bitrate, 8000) << "what is received";
    EXPECT_EQ(info.get_strm_info.protocol, Protocol_RTSPTCP);
    EXPECT_EQ(info.get_strm_info.src_ip_addr, 0x7F000001U);
}

TEST(ContractInfo, KeepsTheNameOfARecording) {
    KeptNames names;
    SessionReport report;
    report.recording = RecordingFacts{.path = "/tmp/first.ts", .bytes = 4096, .length = 3s};
    const velmora_info_t first = info_of(report, names);
    report.recording->path = "/tmp/second.ts";
    const velmora_info_t second = info_of(report, names);
    EXPECT_STREQ(first.record_info.file_name, "/tmp/first.ts") << "though another is written now";
    EXPECT_STREQ(second.record_info.file_name, "/tmp/second.ts");
    EXPECT_EQ(second.record_info.kb_size, 4);
    EXPECT_EQ(second.record_info.sec_size, 3);
}

} // namespace
} // namespace velmora
