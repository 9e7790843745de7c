// What an activity offers to the presenter: pictures, the clock they follow, and who wants to know what was
// shown.
#pragma once

#include "media/media_queue.h"
#include "media/picture.h"
#include "present/play_clock.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>

namespace velmora {

struct PictureSource {
    static constexpr std::size_t depth = 4;

    MediaQueue<Picture> pictures{depth};
    SharedPlayClock clock;
    std::atomic<std::uint64_t> generation{0}; ///< raised by a seek: what is older falls out where it is met
    /// Called on the presenter's thread for each picture in the moment it is shown. Set before attaching.
    std::function<void(const Picture&)> on_shown;
    /// Called on the presenter's thread for each picture that came too late to be shown. Set before
    /// attaching.
    std::function<void(const Picture&)> on_dropped;
};

} // namespace velmora
