// Sees to it that there is an audio device as long as the machine has one.
#pragma once

#include "pacing/time_source.h"
#include "present/sound_outlet.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

namespace velmora {

/// Opens the device on a thread of its own, so that a sound server that takes its time holds up nobody, and
/// tries again every few seconds when there is none or when it was lost.
class AudioDeviceKeeper {
public:
    /// @param outlet what the device fetches from; it and time must outlive the keeper
    AudioDeviceKeeper(SoundOutlet& outlet, TimeSource& time);

    /// Nothing is opened before the first call. Any thread.
    void want_device();
    /// There is no device, by the latest try. Any thread.
    bool lacks_device() const { return lacks_device_; }
    /// Why it could not be opened; nothing when the machine merely has none.
    std::string failure() const;

private:
    void run(const std::stop_token& stop);

    SoundOutlet& outlet_;
    TimeSource& time_;
    std::atomic<bool> lacks_device_{false};
    mutable std::mutex mutex_; ///< protects wanted_ and failure_
    const std::unique_ptr<WakeSignal> changed_{time_.make_signal()};
    bool wanted_{false};
    std::string failure_;
    Worker thread_; ///< last, so that it ends first
};

} // namespace velmora
