// What an activity offers to the presenter: pictures, the clock they follow, and who wants to know what was
// shown.
#pragma once

#include "media/media_queue.h"
#include "media/picture.h"
#include "present/play_clock.h"
#include "present/recent_pictures.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>

namespace velmora {

struct PictureSource {
    static constexpr std::size_t depth = 4;

    MediaQueue<Picture> pictures{depth};
    SharedPlayClock clock;
    /// Called on the presenter's thread for each picture in the moment it is shown. Set before attaching.
    std::function<void(const Picture&)> on_shown;
    /// Called there as well, when the picture has been handed over. Set before attaching.
    std::function<void(const Picture&)> on_delivered;
    /// Called on the presenter's thread for each picture that came too late to be shown. Set before
    /// attaching.
    std::function<void(const Picture&)> on_dropped;

    /// Pictures that are late by less are all shown, one soon after the other, instead of leaving out those
    /// whose successor is due: as long as that makes up for it within a second. Set before attaching.
    SteadyClock::duration patience{0};

    /// Filled while pictures are shown one after the other at rate 1, where it is there. Set before
    /// attaching.
    std::unique_ptr<RecentPictures> recent;
    /// The picture shown last is shown again when the display comes back. Set before attaching.
    bool picture_lasts{true};

    /// Where pictures are shown at the moment, once that is known: what waits in numbers may be kept as
    /// small.
    std::atomic<PictureSize> display{};

    // The presenter's, under its lock; kept here so that they are there when the display comes back:
    std::deque<Picture> ahead; ///< taken from the queue, not due yet
    Picture shown;             ///< last
};

} // namespace velmora
