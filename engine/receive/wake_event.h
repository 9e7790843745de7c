// Wakes a thread that sleeps in poll().
#pragma once

#include "media/file_descriptor.h"

#include <cstdint>
#include <stdexcept>
#include <sys/eventfd.h>

namespace velmora {

class WakeEvent {
public:
    /// @throws std::runtime_error when the process has no descriptors left
    WakeEvent() : event_{::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)} {
        if (!event_) {
            throw std::runtime_error("no descriptors are left");
        }
    }

    /// Makes the descriptor readable for good; from any thread.
    void raise() const {
        const std::uint64_t one = 1;
        [[maybe_unused]] const auto written = ::write(event_.get(), &one, sizeof one);
    }
    int descriptor() const { return event_.get(); }

private:
    FileDescriptor event_;
};

} // namespace velmora
