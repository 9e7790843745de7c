#include "boundary/contract_setups.h"

#include "support/test_time.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <netinet/in.h>
#include <string>

namespace velmora {
namespace {

using namespace std::chrono_literals;

playback_setup_t playback(const std::string& path) {
    playback_setup_t record{};
    std::copy_n(path.data(), std::min(path.size(), sizeof record.file_name), record.file_name);
    record.speed = PLAYER_SPD_NORMAL;
    return record;
}

TEST(ContractSetup, OfAFileKeepsItsPathAndSaysWhenThatDidNotFit) {
    constexpr std::size_t room = sizeof playback_setup_t::file_name;
    EXPECT_EQ(setup_of(playback("/a.ts")).latin1_path, "/a.ts");
    EXPECT_FALSE(setup_of(playback(std::string(room - 1, 'a'))).is_path_cut);
    const PlaybackSetup cut = setup_of(playback(std::string(room, 'a')));
    EXPECT_TRUE(cut.is_path_cut);
    EXPECT_EQ(cut.latin1_path.size(), room);
}

TEST(ContractSetup, OfAFileWithATempoThatIsNonePlaysForward) {
    playback_setup_t record = playback("/a.ts");
    record.direction = PLAYER_DIR_PREVWARD;
    record.speed = PLAYER_SPD_X3;
    EXPECT_EQ(setup_of(record).tempo, (Tempo{Direction::reverse, Speed::times_3}));
    for (const std::int32_t speed : {-1, 7}) {
        record.speed = speed;
        EXPECT_EQ(setup_of(record).tempo, Tempo{});
    }
    EXPECT_FALSE(tempo_of(2, PLAYER_SPD_NORMAL));
}

TEST(ContractSetup, OfAFileSendsToPortsOnly) {
    playback_setup_t record = playback("/a.ts");
    record.ip = INADDR_LOOPBACK;
    record.protocol = Protocol_RTPUDP;
    for (const std::int32_t port : {-1, 0, 65'536}) {
        record.port = port;
        EXPECT_EQ(setup_of(record).target.port, 0);
    }
    record.port = 65'535;
    EXPECT_EQ(setup_of(record).target.port, 65'535);
    EXPECT_EQ(setup_of(record).target.ip, INADDR_LOOPBACK);
    EXPECT_TRUE(setup_of(record).target.by_rtp);
}

TEST(ContractSetup, OfAStreamNamesAProtocolThatCannotBeReceived) {
    streaming_setup_t record{};
    for (const std::int32_t protocol : {Protocol_PRIVATE, Protocol_UDPTS, Protocol_RTPUDP, Protocol_RTSPUDP,
                                        Protocol_RTSPTCP, Protocol_Split}) {
        record.protocol = protocol;
        EXPECT_EQ(setup_of(record).problem, "");
    }
    for (const std::int32_t protocol : {-1, static_cast<std::int32_t>(Protocol_HTTP), 99}) {
        record.protocol = protocol;
        EXPECT_EQ(setup_of(record).problem,
                  "protocol " + std::to_string(protocol) + " is none that can be received");
    }
}

TEST(ContractSetup, OfAStreamBoundsItsDelay) {
    streaming_setup_t record{};
    record.sync_delay_ms = -5;
    EXPECT_EQ(setup_of(record).sync_delay, 0ms);
    record.sync_delay_ms = 1'000'000;
    EXPECT_EQ(setup_of(record).sync_delay, 10s);
}

TEST(ContractSetup, OfARecordingHasNoLimitBelowZero) {
    record_setup_t record{};
    std::strcpy(record.directory_path, "/tmp"); // NOLINT(clang-analyzer-security.insecureAPI.strcpy)
    record.time_seconds = -1;
    record.cyclic_time_sec = 60;
    const RecorderSetup setup = setup_of(record);
    EXPECT_EQ(setup.latin1_directory, "/tmp");
    EXPECT_FALSE(setup.latin1_name);
    EXPECT_EQ(setup.limit, 0s);
    EXPECT_EQ(setup.cycle, 0s) << "it is not cyclic";
}

TEST(ContractSetup, OfDataSaysThatABroadcastIsNoTarget) {
    MessageBoard messages{real_time()};
    data_setup_t record{};
    record.is_send_by_eth = 1;
    record.port = 5000;
    record.ip = INADDR_LOOPBACK;
    EXPECT_EQ(targets_of(record, messages).address->port, 5000);
    EXPECT_FALSE(messages.newest());
    record.ip = INADDR_BROADCAST;
    EXPECT_FALSE(targets_of(record, messages).address);
    EXPECT_EQ(messages.newest()->text, "Data is not sent: its target is no address");
}

TEST(ContractActivities, AreThoseOfTheMask) {
    EXPECT_TRUE(activities_of(1 << RECORD_BIT).recording);
    const Activities all = activities_of(0xFF);
    EXPECT_TRUE(all.playback && all.stream_out && all.live_view && all.recording);
    const Activities none = activities_of(0);
    EXPECT_FALSE(none.playback || none.stream_out || none.live_view || none.recording);
}

} // namespace
} // namespace velmora
