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

AudioDeviceKeeper::AudioDeviceKeeper(SoundOutlet& outlet, TimeSource& time)
    : outlet_{outlet}, time_{time}, thread_{time, [this](const std::stop_token& stop) { run(stop); }} {}

void AudioDeviceKeeper::want_device() {
    {
        const std::lock_guard lock{mutex_};
        wanted_ = true;
    }
    changed_->notify();
}

std::string AudioDeviceKeeper::failure() const {
    const std::lock_guard lock{mutex_};
    return failure_;
}

void AudioDeviceKeeper::run(const std::stop_token& stop) {
    const auto is_wanted = [this] {
        const std::lock_guard lock{mutex_};
        return wanted_;
    };
    while (!is_wanted() && !stop.stop_requested()) {
        changed_->wait(stop);
    }
    std::unique_ptr<AudioDevice> device;
    while (!stop.stop_requested()) {
        if (device && device->lost()) {
            device.reset();
        }
        std::string failure;
        if (!device) {
            device = AudioDevice::open(outlet_, time_, failure);
        }
        {
            const std::lock_guard lock{mutex_};
            failure_ = std::move(failure);
        }
        lacks_device_ = device == nullptr;
        changed_->wait(stop,
                       time_.now() + (device ? std::chrono::milliseconds{check_interval} : retry_interval));
    }
    device.reset();
    SDL_TLSCleanup();
}

} // namespace velmora
