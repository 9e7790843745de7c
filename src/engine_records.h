// The engine's records as the configuration fills them.
#pragma once

#include "velmoraapi.h"

#include <QByteArray>
#include <QString>

#include <cstddef>
#include <optional>

class networkCfg;
class playbackCfg;
class recordCfg;
class stream_data_save;

/// What the records hold of the path of a file or a directory, bytes.
inline constexpr std::size_t longest_path = sizeof playback_setup_t::file_name - 1;
static_assert(sizeof record_setup_t::directory_path == longest_path + 1);

/// A record with the texts that it points to.
struct DataRecord {
    explicit DataRecord(const stream_data_save& section);

    QByteArray file_name;
    data_setup_t setup{};
};

/// A record with the texts that it points to.
struct StreamingRecord {
    explicit StreamingRecord(const networkCfg& section);

    QByteArray rtsp_url;
    QByteArray rtsp_sdp;
    streaming_setup_t setup{};
};

/// @return nothing when the directory's name does not fit
std::optional<record_setup_t> make_record_setup(const recordCfg& section);

/// @return nothing when the file's name does not fit
std::optional<playback_setup_t> make_playback_setup(const playbackCfg& section);

/// A playback forward at normal speed.
/// @return nothing when the file's name does not fit
std::optional<playback_setup_t> make_plain_playback_setup(const QString& path, bool is_trick_mode);
