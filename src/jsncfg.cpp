#include "jsncfg.h"

#include <QFile>
#include <QJsonObject>
#include <QSaveFile>
#include <filesystem>
#include <memory>
#include <system_error>
#include <tuple>
#include <utility>

namespace {

/** One member of a section and its key in the section's object. */
template <typename Section, typename Value>
struct Field {
    const char* key;
    Value Section::*member;
};

template <typename Section, typename Value>
Field(const char*, Value Section::*) -> Field<Section, Value>;

constexpr std::tuple network_fields{
    Field{"Transport", &networkCfg::ts},
    Field{"Port", &networkCfg::port},
    Field{"Mode", &networkCfg::mode},
    Field{"rtsp_serial_port", &networkCfg::rtsp_serial_port},
    Field{"rtsp_mode", &networkCfg::rtsp_mode},
    Field{"do_record", &networkCfg::is_recording},
    Field{"IP", &networkCfg::ip},
    Field{"rtsp_url", &networkCfg::rtsp_url},
    Field{"rtsp_sdp", &networkCfg::rtsp_sdp},
    Field{"sync_delay", &networkCfg::sync_delay},
};
constexpr std::tuple record_fields{
    Field{"Path", &recordCfg::directory_path},
    Field{"Trick_mode", &recordCfg::trick_mode},
};
constexpr std::tuple volume_fields{
    Field{"Volume_val", &volumeCfg::volume_val},
    Field{"Volume_On", &volumeCfg::volume_on},
};
constexpr std::tuple playback_fields{
    Field{"Path", &playbackCfg::path},           Field{"is_trick_mode", &playbackCfg::is_trick_mode},
    Field{"Direction", &playbackCfg::direction}, Field{"Speed", &playbackCfg::speed},
    Field{"is_stream", &playbackCfg::is_stream}, Field{"IP", &playbackCfg::ip},
    Field{"Port", &playbackCfg::port},
};
constexpr std::tuple board_fields{
    Field{"IP", &board_ip::ip},
};
constexpr std::tuple data_fields{
    Field{"IP", &stream_data_save::ip},
    Field{"is_file", &stream_data_save::is_save_by_file},
    Field{"is_eth", &stream_data_save::is_send_by_eth},
    Field{"File_name", &stream_data_save::file_name},
    Field{"Port", &stream_data_save::port},
};

void take(int& member, const QJsonValue& value) {
    member = value.toInt();
}
void take(QString& member, const QJsonValue& value) {
    member = value.toString();
}

template <typename Section, typename Fields>
void read_fields(Section& section, const Fields& fields) {
    const QJsonObject top = section.p_cfg->json_doc.object();
    const auto found = top.constFind(section.key);
    if (found == top.constEnd()) {
        return;
    }
    const QJsonObject values = found->toObject();
    const auto read_one = [&](const auto& field) {
        if (const auto value = values.constFind(QLatin1String(field.key)); value != values.constEnd()) {
            take(section.*field.member, *value);
        }
    };
    std::apply([&](const auto&... field) { (read_one(field), ...); }, fields);
}

template <typename Section, typename Fields>
void write_fields(const Section& section, const Fields& fields) {
    QJsonObject values;
    const auto write_one = [&](const auto& field) {
        values.insert(QLatin1String(field.key), section.*field.member);
    };
    std::apply([&](const auto&... field) { (write_one(field), ...); }, fields);
    QJsonObject top = section.p_cfg->json_doc.object();
    top.insert(section.key, values);
    section.p_cfg->json_doc.setObject(top);
    section.p_cfg->save_cfg();
}

/** Makes a section, stores it in the list, which owns it, and returns it. */
template <typename Section>
Section* add_section(Config* config) {
    auto section = std::make_unique<Section>(config);
    config->p_cfg_list.append(section.get());
    return section.release();
}

/** Whether a path's symbolic links form a loop, which QSaveFile would replace by a file. */
bool is_link_loop(const QString& path) {
    std::error_code error;
    static_cast<void>(std::filesystem::status(QFile::encodeName(path).constData(), error));
    return error == std::errc::too_many_symbolic_link_levels;
}

} // namespace

cfg_list::cfg_list(Config* config) : p_cfg(config) {}

cfg_list::~cfg_list() = default;

void cfg_list::read() {}

void cfg_list::write() const {}

void cfg_list::remove() const {
    QJsonObject top = p_cfg->json_doc.object();
    top.remove(key);
    p_cfg->json_doc.setObject(top);
    p_cfg->save_cfg();
}

networkCfg::networkCfg(Config* config)
    : cfg_list(config), ip(QStringLiteral("225.0.0.1")), rtsp_url(QStringLiteral("0.0.0.0")),
      rtsp_sdp(QStringLiteral("mux1.sdp")) {
    key = QStringLiteral("network");
}

void networkCfg::read() {
    read_fields(*this, network_fields);
}

void networkCfg::write() const {
    write_fields(*this, network_fields);
}

recordCfg::recordCfg(Config* config) : cfg_list(config), directory_path(QStringLiteral("/")) {
    key = QStringLiteral("record");
}

void recordCfg::read() {
    read_fields(*this, record_fields);
}

void recordCfg::write() const {
    write_fields(*this, record_fields);
}

volumeCfg::volumeCfg(Config* config) : cfg_list(config) {
    key = QStringLiteral("volume");
}

void volumeCfg::read() {
    read_fields(*this, volume_fields);
}

void volumeCfg::write() const {
    write_fields(*this, volume_fields);
}

playbackCfg::playbackCfg(Config* config)
    : cfg_list(config), path(QStringLiteral("/")), ip(QStringLiteral("192.168.0.8")) {
    key = QStringLiteral("playback");
}

void playbackCfg::read() {
    read_fields(*this, playback_fields);
}

void playbackCfg::write() const {
    write_fields(*this, playback_fields);
}

board_ip::board_ip(Config* config) : cfg_list(config), ip(QStringLiteral("0")) {
    key = QStringLiteral("board_ip");
}

void board_ip::read() {
    read_fields(*this, board_fields);
}

void board_ip::write() const {
    write_fields(*this, board_fields);
}

stream_data_save::stream_data_save(Config* config)
    : cfg_list(config), ip(QStringLiteral("127.0.0.1")), file_name(QStringLiteral("/data.bin")) {
    key = QStringLiteral("stream_data_save");
}

void stream_data_save::read() {
    read_fields(*this, data_fields);
}

void stream_data_save::write() const {
    write_fields(*this, data_fields);
}

Config::Config(QString file)
    : file_name(std::move(file)), p_networkCfg(add_section<networkCfg>(this)),
      p_recordCfg(add_section<recordCfg>(this)), p_volume(add_section<volumeCfg>(this)),
      p_playbackCfg(add_section<playbackCfg>(this)), p_board_ip(add_section<board_ip>(this)),
      p_stream_data(add_section<stream_data_save>(this)) {}

Config::~Config() {
    qDeleteAll(p_cfg_list);
}

int Config::load_cfg() {
    QFile file(file_name);
    if (!file.open(QIODevice::ReadOnly)) {
        return -1;
    }
    const QByteArray text = file.readAll();
    file.close();
    json_doc = QJsonDocument::fromJson(text);
    read_cfg();
    return 0;
}

void Config::read_cfg() {
    for (cfg_list* section : std::as_const(p_cfg_list)) {
        section->read();
    }
}

void Config::write_cfg() const {
    for (const cfg_list* section : p_cfg_list) {
        section->write();
    }
}

int Config::save_cfg() {
    QSaveFile file(file_name);
    file.setDirectWriteFallback(true);
    if (is_link_loop(file_name) || !file.open(QIODevice::WriteOnly)) {
        return -1;
    }
    const QByteArray text = json_doc.toJson();
    // The commit itself does not tell a failed flush from a good one.
    if (file.write(text) != text.size() || !file.flush()) {
        file.cancelWriting();
    }
    return file.commit() ? 0 : -1;
}

void Config::remove_file() {
    QFile::remove(file_name);
}
