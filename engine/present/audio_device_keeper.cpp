#include "present/audio_device_keeper.h"

#include "present/audio_device.h"

#include <SDL.h>

#include <chrono>
#include <memory>
#include <string>
#include <utility>

namespace velmora {

namespace {

constexpr std::chrono::seconds retry_interval{3};
constexpr std::chrono::milliseconds check_interval{500};

} // namespace

AudioDeviceKeeper::AudioDeviceKeeper(SoundOutlet& outlet)
    : outlet_{outlet}, thread_{[this](const std::stop_token& stop) { run(stop); }} {}

void AudioDeviceKeeper::want_device() {
    {
        const std::lock_guard lock{mutex_};
        wanted_ = true;
    }
    changed_.notify_all();
}

std::string AudioDeviceKeeper::failure() const {
    const std::lock_guard lock{mutex_};
    return failure_;
}

void AudioDeviceKeeper::run(const std::stop_token& stop) {
    std::unique_lock lock{mutex_};
    if (!changed_.wait(lock, stop, [this] { return wanted_; })) {
        return;
    }
    std::unique_ptr<AudioDevice> device;
    while (!stop.stop_requested()) {
        lock.unlock();
        if (device && device->lost()) {
            device.reset();
        }
        std::string failure;
        if (!device) {
            device = AudioDevice::open(outlet_, failure);
        }
        lock.lock();
        failure_ = std::move(failure);
        lacks_device_ = device == nullptr;
        const auto pause = device ? std::chrono::milliseconds{check_interval} : retry_interval;
        changed_.wait_for(lock, stop, pause, [] { return false; });
    }
    lock.unlock();
    device.reset();
    SDL_TLSCleanup();
}

} // namespace velmora
