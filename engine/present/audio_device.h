// The system's audio output.
#pragma once

#include "pacing/time_source.h"
#include "present/sound_outlet.h"

#include <cstdint>
#include <memory>
#include <string>

namespace velmora {

/// The opened default output device, which fetches from an outlet on a thread of its own. Everything here
/// may take as long as the sound server likes.
class AudioDevice {
public:
    /// Opens the default device; null when there is none or when it cannot be opened.
    /// @param outlet, time must outlive the device
    /// @param failure gets the reason, nothing when the machine merely has no device
    static std::unique_ptr<AudioDevice> open(SoundOutlet& outlet, const TimeSource& time,
                                             std::string& failure);

    ~AudioDevice();
    AudioDevice(const AudioDevice&) = delete;
    AudioDevice& operator=(const AudioDevice&) = delete;

    /// Whether it has gone: unplugged, or given up by the sound server.
    bool lost() const;

private:
    AudioDevice(SoundOutlet& outlet, const TimeSource& time) : outlet_{outlet}, time_{time} {}

    static void fetch(void* device, std::uint8_t* bytes, int size);

    SoundOutlet& outlet_;
    const TimeSource& time_;
    std::uint32_t number_{0};
};

} // namespace velmora
