// The engine as an application sees it: loaded by name, reached through its table only.
#pragma once

#include "velmoraapi.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

/// The loaded library; unloaded at the end of its life.
class EngineLibrary {
public:
    EngineLibrary();
    ~EngineLibrary();
    EngineLibrary(const EngineLibrary&) = delete;
    EngineLibrary& operator=(const EngineLibrary&) = delete;

    const velmora_t& table() const { return *table_; }
    const velmora_ext_t& extension() const { return *extension_; }

private:
    void* library_;
    const velmora_t* table_;
    const velmora_ext_t* extension_;
};

/// A picture that the overlay callback received.
struct ReceivedPicture {
    std::optional<std::uint32_t> number; ///< from its block pattern
    int width{0};
    int height{0};
    int pitch{0};
    std::thread::id thread;
    std::chrono::steady_clock::time_point when;
    std::vector<std::uint8_t> bytes; ///< only when keep_bytes was set
};

/// An open engine handle that collects the pictures it gets.
class EngineUnderTest {
public:
    explicit EngineUnderTest(const EngineLibrary& library);
    ~EngineUnderTest();
    EngineUnderTest(const EngineUnderTest&) = delete;
    EngineUnderTest& operator=(const EngineUnderTest&) = delete;

    const velmora_t& table() const { return library_.table(); }
    velmora_handle_t handle() const { return handle_; }

    /// Sets the file and starts it.
    /// @return the result of Velmora_start
    int play(const std::filesystem::path& file, int speed = PLAYER_SPD_NORMAL,
             int direction = PLAYER_DIR_FORWARD);
    /// As play.
    /// @return nothing when it took longer; it is stopped then
    std::optional<int> play_within(std::chrono::seconds limit, const std::filesystem::path& file,
                                   int speed = PLAYER_SPD_NORMAL, int direction = PLAYER_DIR_FORWARD);
    /// As play, in the mode that keeps an index beside the file.
    int play_with_index(const std::filesystem::path& file, int speed = PLAYER_SPD_NORMAL);
    /// As play, again and again.
    int play_repeated(const std::filesystem::path& file, int speed = PLAYER_SPD_NORMAL,
                      int direction = PLAYER_DIR_FORWARD);
    void set_tempo(int direction, int speed);
    void pause() { set_tempo(PLAYER_DIR_FORWARD, PLAYER_SPD_PAUSE); }
    /// Forward at normal speed.
    void resume() { set_tempo(PLAYER_DIR_FORWARD, PLAYER_SPD_NORMAL); }
    void seek(int second);
    void stop() { table().Velmora_stop(handle_, 1); }
    void close();
    velmora_info_t info(bool reset = false) const;
    /// The newest message; one of number 0 when there has been none.
    velmora_message_t message() const;

    void keep_bytes(bool keep);
    std::vector<ReceivedPicture> pictures() const;
    std::size_t picture_count() const;
    void forget_pictures();
    /// Number of the picture received last.
    std::optional<std::uint32_t> last_number() const;
    /// Run inside each callback, on the engine's thread.
    void set_in_callback(std::function<void()> action);

    /// Waits until the condition holds.
    /// @return false when it did not within the limit
    bool wait_for_pictures(std::size_t count, std::chrono::seconds limit = std::chrono::seconds{20});
    bool wait_for_info(const std::function<bool(const velmora_info_t&)>& condition,
                       std::chrono::seconds limit = std::chrono::seconds{20}) const;

private:
    int start(const std::filesystem::path& file, playback_setup_t setup);
    static void overlay(void* self, int channel, unsigned int format, int width, int height, int pitch,
                        void* bitmap, void* extension);

    const EngineLibrary& library_;
    velmora_handle_t handle_{0};
    mutable std::mutex mutex_;
    std::condition_variable received_;
    std::vector<ReceivedPicture> pictures_;
    std::function<void()> in_callback_;
    bool keep_bytes_{false};
};
