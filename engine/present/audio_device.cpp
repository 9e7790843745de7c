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

void fetch(void* outlet, Uint8* bytes, int size) {
    static_cast<SoundOutlet*>(outlet)->fetch(
        {reinterpret_cast<float*>(bytes), static_cast<std::size_t>(size) / sizeof(float)},
        SteadyClock::now());
}

} // namespace

std::unique_ptr<AudioDevice> AudioDevice::open(SoundOutlet& outlet, std::string& failure) {
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
    SDL_AudioSpec wanted{};
    wanted.freq = output_rate;
    wanted.format = AUDIO_F32SYS;
    wanted.channels = output_channels;
    wanted.samples = block_frames;
    wanted.callback = fetch;
    wanted.userdata = &outlet;
    const SDL_AudioDeviceID number = SDL_OpenAudioDevice(nullptr, 0, &wanted, nullptr, 0);
    if (number == 0) {
        failure = SDL_GetError();
        stop_library();
        return nullptr;
    }
    SDL_PauseAudioDevice(number, 0);
    return std::unique_ptr<AudioDevice>{new AudioDevice{number}};
}

AudioDevice::~AudioDevice() {
    const std::lock_guard lock{library_mutex()};
    SDL_CloseAudioDevice(number_);
    stop_library();
}

bool AudioDevice::lost() const {
    return SDL_GetAudioDeviceStatus(number_) == SDL_AUDIO_STOPPED;
}

} // namespace velmora
