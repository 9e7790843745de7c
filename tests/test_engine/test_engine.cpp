// An engine without media: records every call and plays back scripted answers.
#include "test_engine_control.h"

#include <condition_variable>
#include <mutex>
#include <utility>

namespace {

struct State {
    std::mutex mutex;
    std::condition_variable script_changed;
    std::vector<RecordedCall> calls;
    TestEngineScript script;
    int starts{0};       ///< calls of Velmora_start
    int ended_starts{0}; ///< the oldest ones, which no longer wait
    velmora_user_overlay_callback_t overlay{nullptr};
    void* overlay_user{nullptr};
};

State& state() {
    static State instance;
    return instance;
}

RecordedCall call(const char* name, velmora_handle_t handle = 0, int number = 0) {
    RecordedCall recorded;
    recorded.name = name;
    recorded.handle = handle;
    recorded.number = number;
    recorded.thread = std::this_thread::get_id();
    recorded.time = std::chrono::system_clock::now();
    return recorded;
}

/// Keeps the call and hands out the script as it stands.
TestEngineScript record(RecordedCall recorded) {
    const std::lock_guard lock{state().mutex};
    state().calls.push_back(std::move(recorded));
    return state().script;
}

template <class Record>
TestEngineScript record(RecordedCall recorded, const Record& setup,
                        const std::vector<const char*>& texts = {}) {
    recorded.record = setup;
    for (const char* text : texts) {
        recorded.texts.emplace_back(text == nullptr ? "" : text);
    }
    return record(std::move(recorded));
}

void close_session(velmora_handle_t handle) {
    record(call("Velmora_close", handle));
    const std::lock_guard lock{state().mutex};
    state().overlay = nullptr;
}

int open_session(velmora_setup_t setup, velmora_handle_t* handle) {
    const TestEngineScript script = record(call("Velmora_open"), setup);
    *handle = script.open_handle;
    return script.open_result;
}

void stop(velmora_handle_t handle, int mask) {
    record(call("Velmora_stop", handle, mask));
}

int start(velmora_handle_t handle, int mask) {
    const TestEngineScript script = record(call("Velmora_start", handle, mask));
    std::unique_lock lock{state().mutex};
    const int own = ++state().starts;
    state().script_changed.wait(
        lock, [own] { return !state().script.start_blocks || state().ended_starts >= own; });
    return script.start_result;
}

int set_playback_param(velmora_handle_t handle, playback_setup_t setup) {
    return record(call("Velmora_set_playback_param", handle), setup).other_results;
}

int set_streaming_param(velmora_handle_t handle, streaming_setup_t setup) {
    return record(call("Velmora_set_streaming_param", handle), setup, {setup.rtsp_url, setup.rtsp_sdp})
        .other_results;
}

int set_record_param(velmora_handle_t handle, record_setup_t setup) {
    return record(call("Velmora_set_record_param", handle), setup, {setup.file_name}).other_results;
}

int switch_dispatch(velmora_handle_t handle, int on) {
    return record(call("Velmora_switch_dispatch", handle, on)).other_results;
}

int set_data_param(velmora_handle_t handle, data_setup_t setup) {
    return record(call("Velmora_set_data_param", handle), setup, {setup.file_name}).other_results;
}

int get_action() {
    return record(call("Velmora_get_action")).other_results;
}

void register_user_overlay(velmora_handle_t handle, velmora_user_overlay_callback_t callback, void* user) {
    RecordedCall recorded = call("Velmora_register_user_overlay", handle);
    recorded.user = user;
    record(std::move(recorded));
    const std::lock_guard lock{state().mutex};
    state().overlay = callback;
    state().overlay_user = user;
}

void register_record_encode_frame(velmora_handle_t handle, velmora_user_record_callback_t /*callback*/,
                                  void* /*user*/, velmora_user_index_callback_t /*index_callback*/) {
    record(call("Velmora_register_record_encode_frame", handle));
}

void put_encode_frame(velmora_handle_t handle, void* /*frame*/, int size) {
    record(call("Velmora_put_encode_frame", handle, size));
}

void setup_port(velmora_handle_t handle, int port) {
    record(call("Velmora_setup_port", handle, port));
}

void get_info(velmora_handle_t handle, velmora_info_t* info, int reset) {
    *info = record(call("Velmora_get_info", handle, reset)).info;
}

void get_dll_ver(int* version) {
    *version = record(call("Velmora_get_dll_ver")).version;
}

void get_plbck_status(velmora_handle_t handle, player_sdx_status* status) {
    *status = record(call("Velmora_get_plbck_status", handle)).info.player_info;
}

void set_event(velmora_handle_t handle, playback_event_t event) {
    record(call("Velmora_set_event", handle), event);
}

int get_tag_by_i(velmora_handle_t handle, int index) {
    const TestEngineScript script = record(call("Velmora_get_tag_by_i", handle, index));
    const auto at = static_cast<std::size_t>(index);
    return at < script.tags.size() ? script.tags[at] : -1;
}

int set_volume(int level) {
    return record(call("Velmora_set_volume", 0, level)).other_results;
}

int set_display_size(velmora_handle_t handle, int width, int height) {
    RecordedCall recorded = call("Velmora_set_display_size", handle);
    recorded.width = width;
    recorded.height = height;
    return record(std::move(recorded)).other_results;
}

/// Not recorded: it is asked for several times a second.
int get_message(velmora_handle_t /*handle*/, velmora_message_t* message) {
    const std::lock_guard lock{state().mutex};
    if (!state().script.message) {
        return -1;
    }
    *message = *state().script.message;
    return 0;
}

void reset() {
    const std::lock_guard lock{state().mutex};
    state().calls.clear();
    state().script = TestEngineScript{};
    state().starts = 0;
    state().ended_starts = 0;
    state().overlay = nullptr;
    state().script_changed.notify_all();
}

std::vector<RecordedCall> calls() {
    const std::lock_guard lock{state().mutex};
    return state().calls;
}

void forget_calls() {
    const std::lock_guard lock{state().mutex};
    state().calls.clear();
}

TestEngineScript script() {
    const std::lock_guard lock{state().mutex};
    return state().script;
}

void set_script(const TestEngineScript& wanted) {
    const std::lock_guard lock{state().mutex};
    state().script = wanted;
    state().script_changed.notify_all();
}

void end_oldest_start() {
    const std::lock_guard lock{state().mutex};
    ++state().ended_starts;
    state().script_changed.notify_all();
}

bool push_picture(int width, int height, int pitch, const void* bitmap) {
    velmora_user_overlay_callback_t overlay = nullptr;
    void* user = nullptr;
    {
        const std::lock_guard lock{state().mutex};
        overlay = state().overlay;
        user = state().overlay_user;
    }
    if (overlay == nullptr) {
        return false;
    }
    std::jthread{[=] {
        overlay(user, 0, 0, width, height, pitch, const_cast<void*>(bitmap), nullptr);
    }}.join();
    return true;
}

} // namespace

extern "C" {

extern const velmora_t m_velmora;
const velmora_t m_velmora = {
    close_session,
    open_session,
    stop,
    start,
    set_playback_param,
    set_streaming_param,
    set_record_param,
    switch_dispatch,
    set_data_param,
    get_action,
    register_user_overlay,
    register_record_encode_frame,
    put_encode_frame,
    setup_port,
    get_info,
    get_dll_ver,
    get_plbck_status,
    set_event,
    get_tag_by_i,
};

extern const velmora_ext_t m_velmora_ext;
const velmora_ext_t m_velmora_ext = {sizeof(velmora_ext_t), set_volume, set_display_size, get_message};

extern const TestEngineControl test_engine_control;
const TestEngineControl test_engine_control = {
    reset, calls, forget_calls, script, set_script, end_oldest_start, push_picture};

} // extern "C"
