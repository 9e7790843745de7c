// The pictures shown last, so that playing can turn round at once.
#pragma once

#include "decode/picture_converter.h"
#include "media/picture.h"

#include <cstddef>
#include <deque>
#include <mutex>

namespace velmora {

/// Holds successive pictures as they were shown: the more, the longer it takes to decode what lies in front
/// of them, but bounded in bytes. Thread-safe.
class RecentPictures {
public:
    RecentPictures();
    /// @param rgb what `picture` was converted to for the screen
    void keep(const Picture& picture, const RgbPicture& rgb);
    /// What comes next does not follow what was kept.
    void forget();
    /// All that is held, the oldest first.
    std::deque<Picture> take();

private:
    struct Entry {
        Picture picture;
        std::size_t bytes{0};
    };

    void follow_groups(const Picture& picture);
    Picture shown_copy(const Picture& picture, const RgbPicture& rgb);

    std::mutex mutex_;
    // Protected by mutex_:
    std::deque<Entry> entries_;
    std::size_t bytes_{0}; ///< of all entries
    AvFrame spare_;        ///< let go last, to be filled again
    std::size_t group_;    ///< distance of the latest key pictures
    std::size_t since_key_{0};
    bool seen_key_{false};
};

} // namespace velmora
