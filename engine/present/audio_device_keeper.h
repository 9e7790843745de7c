// Sees to it that there is an audio device as long as the machine has one.
#pragma once

#include "present/sound_outlet.h"

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace velmora {

/// Opens the device on a thread of its own, so that a sound server that takes its time holds up nobody, and
/// tries again every few seconds when there is none or when it was lost.
class AudioDeviceKeeper {
public:
    /// @param outlet what the device fetches from; must outlive the keeper
    explicit AudioDeviceKeeper(SoundOutlet& outlet);

    /// Nothing is opened before the first call. Any thread.
    void want_device();
    /// There is no device, by the latest try. Any thread.
    bool lacks_device() const { return lacks_device_; }
    /// Why it could not be opened; nothing when the machine merely has none.
    std::string failure() const;

private:
    void run(const std::stop_token& stop);

    SoundOutlet& outlet_;
    std::atomic<bool> lacks_device_{false};
    mutable std::mutex mutex_; ///< protects wanted_ and failure_
    std::condition_variable_any changed_;
    bool wanted_{false};
    std::string failure_;
    std::jthread thread_; ///< last, so that it ends first
};

} // namespace velmora
