#include "boundary/contract_setups.h"

#include "diagnostics/log.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <limits>
#include <netinet/in.h>
#include <string>

namespace velmora {

namespace {

constexpr std::chrono::milliseconds longest_sync_delay{10'000};

static_assert(static_cast<int>(Speed::pause) == PLAYER_SPD_PAUSE &&
              static_cast<int>(Speed::fast) == PLAYER_SPD_FAST);

std::string text_of(const char* text) {
    return text == nullptr ? std::string{} : std::string{text};
}

/// @return 0 for what is no port
std::uint16_t port_of(std::int32_t port) {
    const bool is_port = port > 0 && port <= std::numeric_limits<std::uint16_t>::max();
    return is_port ? static_cast<std::uint16_t>(port) : std::uint16_t{0};
}

std::optional<Transport> transport_of(std::int32_t protocol) {
    switch (protocol) {
    case Protocol_PRIVATE:
        return Transport::udp_or_rtp;
    case Protocol_UDPTS:
        return Transport::udp;
    case Protocol_RTPUDP:
        return Transport::rtp;
    case Protocol_RTSPUDP:
        return Transport::rtsp_by_udp;
    case Protocol_RTSPTCP:
        return Transport::rtsp_by_tcp;
    case Protocol_Split:
        return Transport::split;
    default:
        return std::nullopt;
    }
}

} // namespace

std::optional<Tempo> tempo_of(std::int32_t direction, std::int32_t speed) {
    const bool is_direction = direction == PLAYER_DIR_FORWARD || direction == PLAYER_DIR_PREVWARD;
    if (!is_direction || speed < PLAYER_SPD_PAUSE || speed > PLAYER_SPD_FAST) {
        log_incident("session", "tempo",
                     "there is no speed " + std::to_string(speed) + " in direction " +
                         std::to_string(direction) + ", ignored");
        return std::nullopt;
    }
    return Tempo{direction == PLAYER_DIR_PREVWARD ? Direction::reverse : Direction::forward,
                 static_cast<Speed>(speed)};
}

PlaybackSetup setup_of(const playback_setup_t& record) {
    PlaybackSetup setup;
    const std::size_t length = ::strnlen(record.file_name, sizeof record.file_name);
    setup.latin1_path = {record.file_name, length};
    setup.is_path_cut = length == sizeof record.file_name;
    setup.tempo = tempo_of(record.direction, record.speed).value_or(Tempo{});
    setup.repeats = record.is_cyclic != 0;
    setup.sidecar = record.is_trick_mode != 0 ? SidecarUse::kept : SidecarUse::none;
    setup.target = {.ip = static_cast<std::uint32_t>(record.ip),
                    .port = port_of(record.port),
                    .by_rtp = record.protocol == Protocol_RTPUDP};
    return setup;
}

StreamingSetup setup_of(const streaming_setup_t& record) {
    StreamingSetup setup;
    const auto transport = transport_of(record.protocol);
    if (!transport) {
        setup.problem = "protocol " + std::to_string(record.protocol) + " is none that can be received";
    }
    setup.receiver = {.transport = transport.value_or(Transport::udp),
                      .group = record.multicast_addr,
                      .port = port_of(record.port),
                      .rtsp_url = text_of(record.rtsp_url),
                      .rtsp_session = text_of(record.rtsp_sdp),
                      .rtsp_port = port_of(record.rtsp_port)};
    setup.sync_delay = std::clamp(std::chrono::milliseconds{record.sync_delay_ms},
                                  std::chrono::milliseconds{0}, longest_sync_delay);
    if (record.dst_ip != 0 && port_of(record.dst_port) != 0) {
        setup.retransmission = StreamingSetup::Address{record.dst_ip, port_of(record.dst_port)};
    }
    return setup;
}

RecorderSetup setup_of(const record_setup_t& record) {
    RecorderSetup setup;
    setup.latin1_directory = {record.directory_path,
                              ::strnlen(record.directory_path, sizeof record.directory_path)};
    if (record.file_name != nullptr && *record.file_name != '\0') {
        setup.latin1_name = record.file_name;
    }
    setup.limit = std::chrono::seconds{std::max(record.time_seconds, 0)};
    setup.cycle = std::chrono::seconds{record.is_cyclic != 0 ? std::max(record.cyclic_time_sec, 0) : 0};
    setup.writes_index = record.is_trick_mode != 0;
    return setup;
}

DataTargets targets_of(const data_setup_t& record, MessageBoard& messages) {
    DataTargets targets;
    const std::uint16_t port = port_of(record.port);
    if (record.is_send_by_eth != 0 && record.ip == INADDR_BROADCAST) {
        messages.post(MessageBoard::Severity::error, "data", "address",
                      "Data is not sent: its target is no address");
    } else if (record.is_send_by_eth != 0 && record.ip != 0 && port != 0) {
        targets.address = DataTargets::Address{record.ip, port};
    }
    if (record.is_save_by_file != 0 && record.file_name != nullptr && *record.file_name != '\0') {
        targets.latin1_file = record.file_name;
    }
    return targets;
}

Activities activities_of(int mask) {
    const auto has = [mask](ACTION_BIT bit) { return (mask & 1 << bit) != 0; };
    constexpr int every =
        1 << PLAYBACK_BIT | 1 << PLAYBACK_STREAMING_BIT | 1 << STREAMING_BIT | 1 << RECORD_BIT;
    if ((mask & ~every) != 0 || mask == 0) {
        log_incident("session", "start",
                     "of the activities of mask " + std::to_string(mask) + " some are not available");
    }
    return {.playback = has(PLAYBACK_BIT),
            .stream_out = has(PLAYBACK_STREAMING_BIT),
            .live_view = has(STREAMING_BIT),
            .recording = has(RECORD_BIT)};
}

} // namespace velmora
