#include "engine_records.h"

#include "general/socket.h"
#include "jsncfg.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace {

std::uint32_t address_of(const QString& text) {
    return Socket_Str2Addr(text.toLatin1().constData());
}

int protocol_of(const networkCfg& network) {
    switch (network.ts) {
    case TRANSPORT:
        return Protocol_UDPTS;
    case RTP:
        return Protocol_RTPUDP;
    case SPLIT:
        return Protocol_Split;
    case RTSP:
        return network.rtsp_mode != RTSP_UDP ? Protocol_RTSPTCP : Protocol_RTSPUDP;
    default:
        return Protocol_PRIVATE;
    }
}

/// @return false when the text does not fit with its end
template <std::size_t size>
bool copy_text(char (&field)[size], const QString& text) {
    const QByteArray bytes = text.toLatin1();
    if (static_cast<std::size_t>(bytes.size()) >= size) {
        return false;
    }
    std::memcpy(field, bytes.constData(), static_cast<std::size_t>(bytes.size()) + 1);
    return true;
}

} // namespace

DataRecord::DataRecord(const stream_data_save& section) : file_name{section.file_name.toLatin1()} {
    setup.is_send_by_eth = section.is_send_by_eth;
    setup.is_save_by_file = section.is_save_by_file;
    setup.ip = address_of(section.ip);
    setup.port = section.port;
    setup.file_name = file_name.data();
}

StreamingRecord::StreamingRecord(const networkCfg& section)
    : rtsp_url{section.rtsp_url.toLatin1()}, rtsp_sdp{section.rtsp_sdp.toLatin1()} {
    setup.port = section.port;
    setup.multicast_addr = section.mode == MULTICAST ? address_of(section.ip) : 0;
    setup.protocol = protocol_of(section);
    setup.sync_delay_ms = section.sync_delay;
    if (section.ts == RTSP) {
        setup.rtsp_url = rtsp_url.data();
        setup.rtsp_sdp = rtsp_sdp.data();
        setup.rtsp_port = section.rtsp_serial_port;
    }
}

std::optional<record_setup_t> make_record_setup(const recordCfg& section) {
    record_setup_t setup{};
    setup.is_trick_mode = section.trick_mode;
    return copy_text(setup.directory_path, section.directory_path) ? std::optional{setup} : std::nullopt;
}

std::optional<playback_setup_t> make_playback_setup(const playbackCfg& section) {
    playback_setup_t setup{};
    setup.direction = section.direction;
    setup.speed = section.speed;
    setup.is_trick_mode = section.is_trick_mode;
    setup.port = section.port;
    setup.ip = static_cast<std::int32_t>(address_of(section.ip));
    return copy_text(setup.file_name, section.path) ? std::optional{setup} : std::nullopt;
}

std::optional<playback_setup_t> make_plain_playback_setup(const QString& path, bool is_trick_mode) {
    playback_setup_t setup{};
    setup.direction = PLAYER_DIR_FORWARD;
    setup.speed = PLAYER_SPD_NORMAL;
    setup.is_trick_mode = is_trick_mode ? 1 : 0;
    return copy_text(setup.file_name, path) ? std::optional{setup} : std::nullopt;
}
