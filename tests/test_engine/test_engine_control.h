// How tests look into the test engine and tell it what to answer. The engine exports one more symbol for it,
// `test_engine_control`, next to the tables of a real engine.
#pragma once

#include "velmoraapi.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <thread>
#include <variant>
#include <vector>

/// One call through a table, as it arrived.
struct RecordedCall {
    std::string name;           ///< of the slot
    velmora_handle_t handle{0}; ///< 0 for slots without one
    int number{0};              ///< mask, on, index, reset or level
    int width{0};               ///< Velmora_set_display_size
    int height{0};
    std::variant<std::monostate, velmora_setup_t, playback_setup_t, streaming_setup_t, record_setup_t,
                 data_setup_t, playback_event_t>
        record;
    std::vector<std::string> texts; ///< copies of the strings that the record points to, in its order
    const void* user{nullptr};      ///< Velmora_register_user_overlay
    std::thread::id thread;
    std::chrono::system_clock::time_point time; ///< of its arrival
};

/// What the engine answers; tests change it at any time.
struct TestEngineScript {
    int open_result{0};
    velmora_handle_t open_handle{77};
    int start_result{0};      ///< of the starts from now on
    bool start_blocks{false}; ///< Velmora_start waits until this is false again
    int other_results{0};     ///< of the remaining slots
    velmora_info_t info{};
    std::vector<int> tags;
    int version{123};
    std::optional<velmora_message_t> message; ///< nothing: Velmora_get_message says that there is none
};

/// All operations may be called from any thread.
struct TestEngineControl {
    /// Forgets calls, callback and script.
    void (*reset)();
    std::vector<RecordedCall> (*calls)();
    void (*forget_calls)();
    TestEngineScript (*script)();
    void (*set_script)(const TestEngineScript& script);
    /// The oldest of the waiting starts returns.
    void (*end_oldest_start)();
    /// Calls the registered overlay callback on a thread of the engine and waits for its return.
    /// @return false when none is registered
    bool (*push_picture)(int width, int height, int pitch, const void* bitmap);
};
