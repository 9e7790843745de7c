// The two exported tables. Each function finds its session and hands the call on; no exception gets out.

#include "boundary/contract_info.h"
#include "boundary/contract_setups.h"
#include "boundary/message_text.h"
#include "boundary/session_registry.h"
#include "diagnostics/log.h"
#include "present/volume.h"
#include "velmoraapi.h"

#include <chrono>
#include <cstdint>
#include <cstring>
#include <exception>
#include <string>

namespace velmora {
namespace {

constexpr int engine_version = 100;
constexpr int failure = -1;

/// FFmpeg's messages come to us while this library is loaded, and go their own way again afterwards.
class MessageCapture {
public:
    MessageCapture() { capture_ffmpeg_messages(); }
    ~MessageCapture() { release_ffmpeg_messages(); }
    MessageCapture(const MessageCapture&) = delete;
    MessageCapture& operator=(const MessageCapture&) = delete;
};

SessionRegistry& registry() {
    static const MessageCapture capture;
    static SessionRegistry instance;
    return instance;
}

/// Runs `body` on what is open under a handle.
/// @return `otherwise` when there is no such session or the body throws
template <class Result, class Body>
Result with_open(velmora_handle_t handle, Result otherwise, Body&& body) noexcept {
    try {
        if (const auto open = registry().find(handle)) {
            return body(*open);
        }
        log_incident("table", "handle", "no session of handle " + std::to_string(handle) + ", call ignored");
    } catch (const std::exception& error) {
        log_incident("table", "exception", std::string{"a call failed: "} + error.what());
    }
    return otherwise;
}

template <class Result, class Body>
Result with_session(velmora_handle_t handle, Result otherwise, Body&& body) noexcept {
    return with_open(handle, otherwise, [&](OpenSession& open) { return body(open.session); });
}

int not_available(const char* name) noexcept {
    log_incident("table", name, std::string{name} + " is not available, call ignored");
    return failure;
}

void close(velmora_handle_t handle) noexcept {
    const int closed =
        with_session(handle, failure, [](Session& session) { return session.close() ? 0 : failure; });
    if (closed == 0) {
        registry().remove(handle);
    }
}

int open(velmora_setup_t /*setup*/, velmora_handle_t* handle) noexcept {
    if (handle == nullptr) {
        return failure;
    }
    *handle = 0;
    try {
        *handle = registry().open();
        return 0;
    } catch (const std::exception& error) {
        log_incident("table", "open", std::string{"no session could be opened: "} + error.what());
        return failure;
    }
}

void stop(velmora_handle_t handle, int mask) noexcept {
    with_session(handle, failure, [&](Session& session) {
        session.stop(activities_of(mask));
        return 0;
    });
}

int start(velmora_handle_t handle, int mask) noexcept {
    return with_session(handle, failure,
                        [&](Session& session) { return session.start(activities_of(mask)) ? 0 : failure; });
}

int set_playback_param(velmora_handle_t handle, playback_setup_t setup) noexcept {
    return with_session(handle, failure, [&](Session& session) {
        session.set_playback(setup_of(setup));
        return 0;
    });
}

int set_streaming_param(velmora_handle_t handle, streaming_setup_t setup) noexcept {
    return with_session(handle, failure, [&](Session& session) {
        session.set_streaming(setup_of(setup));
        return 0;
    });
}

int set_record_param(velmora_handle_t handle, record_setup_t setup) noexcept {
    return with_session(handle, failure, [&](Session& session) {
        session.set_recording(setup_of(setup));
        return 0;
    });
}

int switch_dispatch(velmora_handle_t handle, int on) noexcept {
    return with_session(handle, failure, [&](Session& session) {
        session.switch_display(on != 0);
        return 0;
    });
}

int set_data_param(velmora_handle_t handle, data_setup_t setup) noexcept {
    return with_session(handle, failure, [&](Session& session) {
        session.set_data(targets_of(setup, session.messages()));
        return 0;
    });
}

int get_action() noexcept {
    return not_available("Velmora_get_action");
}

/// The contract's callback behind the engine's own.
Overlay overlay_of(velmora_user_overlay_callback_t callback, void* user) {
    constexpr unsigned int rgb24 = 0;
    if (callback == nullptr) {
        return nullptr;
    }
    return [callback, user](const RgbPicture& picture) {
        callback(user, 0, rgb24, picture.size.width, picture.size.height, picture.pitch, picture.bytes.data(),
                 nullptr);
    };
}

void register_user_overlay(velmora_handle_t handle, velmora_user_overlay_callback_t callback,
                           void* user) noexcept {
    with_session(handle, failure, [&](Session& session) {
        session.set_overlay(overlay_of(callback, user));
        return 0;
    });
}

void register_record_encode_frame(velmora_handle_t /*handle*/, velmora_user_record_callback_t /*callback*/,
                                  void* /*user*/, velmora_user_index_callback_t /*index_callback*/) noexcept {
    not_available("Velmora_register_record_encode_frame");
}

void put_encode_frame(velmora_handle_t /*handle*/, void* /*frame*/, int /*size*/) noexcept {
    not_available("Velmora_put_encode_frame");
}

void setup_port(velmora_handle_t /*handle*/, int /*port*/) noexcept {
    not_available("Velmora_setup_port");
}

void get_info(velmora_handle_t handle, velmora_info_t* info, int reset) noexcept {
    if (info == nullptr) {
        return;
    }
    *info = velmora_info_t{};
    if (handle == 0) {
        return; // the statistics are looked at before there is a session, too
    }
    with_open(handle, failure, [&](OpenSession& open) {
        *info = info_of(open.session.report(reset != 0), open.names);
        return 0;
    });
}

void get_dll_ver(int* version) noexcept {
    if (version != nullptr) {
        *version = engine_version;
    }
}

void get_plbck_status(velmora_handle_t handle, player_sdx_status* status) noexcept {
    if (status == nullptr) {
        return;
    }
    velmora_info_t info{};
    get_info(handle, &info, 0);
    *status = info.player_info;
}

void handle_event(Session& session, const playback_event_t& event) {
    switch (event.event_type) {
    case SEEK_EVENT:
        session.seek(Position{std::chrono::seconds{event.sec}});
        break;
    case UPDATE_EVENT:
        if (const auto tempo = tempo_of(event.dir, event.speed)) {
            session.set_tempo(*tempo);
        }
        break;
    case PLAYBACK_TAG_EVENT:
        session.mark_playback();
        break;
    case RECORD_TAG_EVENT:
        session.mark_recording();
        break;
    default:
        log_incident("session", "event",
                     "events of type " + std::to_string(event.event_type) + " are not available, ignored");
        break;
    }
}

void set_event(velmora_handle_t handle, playback_event_t event) noexcept {
    with_session(handle, failure, [&](Session& session) {
        handle_event(session, event);
        return 0;
    });
}

int get_tag_by_i(velmora_handle_t handle, int index) noexcept {
    return with_session(handle, failure,
                        [&](Session& session) { return session.tag(index).value_or(failure); });
}

int set_volume_level(int level) noexcept {
    set_volume(level);
    return 0;
}

int set_display_size(velmora_handle_t handle, int width, int height) noexcept {
    return with_session(handle, failure, [&](Session& session) {
        session.set_display_size({width, height});
        return 0;
    });
}

velmora_message_t record_of(const MessageBoard::Message& message) {
    velmora_message_t record{};
    record.number = message.number;
    record.kind = message.severity ? static_cast<std::int32_t>(*message.severity) : MESSAGE_NONE;
    record.kind += message.lasts ? MESSAGE_LASTING : 0;
    const std::string text = message_text(message.text, sizeof record.text - 1);
    std::memcpy(record.text, text.data(), text.size());
    return record;
}

int get_message(velmora_handle_t handle, velmora_message_t* message) noexcept {
    if (message == nullptr) {
        return failure;
    }
    *message = velmora_message_t{};
    if (handle == 0) {
        return failure; // asked before there is a session, too
    }
    return with_session(handle, failure, [&](Session& session) {
        const auto newest = session.message();
        if (!newest) {
            return failure;
        }
        *message = record_of(*newest);
        return 0;
    });
}

} // namespace
} // namespace velmora

extern "C" {

// Looked up by name: the application reads the tables, not the functions.
__attribute__((visibility("default"))) extern const velmora_t m_velmora;
__attribute__((visibility("default"))) extern const velmora_ext_t m_velmora_ext;

const velmora_t m_velmora = {
    velmora::close,
    velmora::open,
    velmora::stop,
    velmora::start,
    velmora::set_playback_param,
    velmora::set_streaming_param,
    velmora::set_record_param,
    velmora::switch_dispatch,
    velmora::set_data_param,
    velmora::get_action,
    velmora::register_user_overlay,
    velmora::register_record_encode_frame,
    velmora::put_encode_frame,
    velmora::setup_port,
    velmora::get_info,
    velmora::get_dll_ver,
    velmora::get_plbck_status,
    velmora::set_event,
    velmora::get_tag_by_i,
};

const velmora_ext_t m_velmora_ext = {
    sizeof(velmora_ext_t),
    velmora::set_volume_level,
    velmora::set_display_size,
    velmora::get_message,
};

} // extern "C"
