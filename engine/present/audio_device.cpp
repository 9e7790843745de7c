#include "present/audio_device.h"

#include <SDL.h>

#include <mutex>

namespace velmora {

namespace {

constexpr int block_frames = 1024;

/// SDL counts the users of its subsystems without a lock. Only threads that open and close devices wait here.
std::mutex& library_mutex() {
    static std::mutex mutex;
    return mutex;
}

bool start_library() {
    SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");
    SDL_SetHint(SDL_HINT_APP_NAME, "velmora");
    SDL_SetHint(SDL_HINT_AUDIO_DEVICE_APP_NAME, "velmora");
    return SDL_InitSubSystem(SDL_INIT_AUDIO) == 0;
}

void stop_library() {
    SDL_QuitSubSystem(SDL_INIT_AUDIO);
    if (SDL_WasInit(0) == 0) {
        SDL_Quit(); // frees what belongs to no subsystem; nobody else uses the library
    }
}

} // namespace

void AudioDevice::fetch(void* device, std::uint8_t* bytes, int size) {
    const auto& self = *static_cast<AudioDevice*>(device);
    self.outlet_.fetch({reinterpret_cast<float*>(bytes), static_cast<std::size_t>(size) / sizeof(float)},
                       self.time_.now());
}

std::unique_ptr<AudioDevice> AudioDevice::open(SoundOutlet& outlet, const TimeSource& time,
                                               std::string& failure) {
    failure.clear();
    const std::lock_guard lock{library_mutex()};
    if (!start_library()) {
        failure = SDL_GetError();
        stop_library();
        return nullptr;
    }
    // A count below zero means that the driver cannot tell.
    if (SDL_GetNumAudioDevices(0) == 0) {
        stop_library();
        return nullptr;
    }
    std::unique_ptr<AudioDevice> device{new AudioDevice{outlet, time}};
    SDL_AudioSpec wanted{};
    wanted.freq = output_rate;
    wanted.format = AUDIO_F32SYS;
    wanted.channels = output_channels;
    wanted.samples = block_frames;
    wanted.callback = fetch;
    wanted.userdata = device.get();
    device->number_ = SDL_OpenAudioDevice(nullptr, 0, &wanted, nullptr, 0);
    if (device->number_ == 0) {
        failure = SDL_GetError();
        stop_library();
        return nullptr;
    }
    SDL_PauseAudioDevice(device->number_, 0);
    return device;
}

AudioDevice::~AudioDevice() {
    if (number_ == 0) {
        return; // it was never opened
    }
    const std::lock_guard lock{library_mutex()};
    SDL_CloseAudioDevice(number_);
    stop_library();
}

bool AudioDevice::lost() const {
    return SDL_GetAudioDeviceStatus(number_) == SDL_AUDIO_STOPPED;
}

} // namespace velmora
