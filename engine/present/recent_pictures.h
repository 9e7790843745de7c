// The pictures shown last, so that playing can turn round at once.
#pragma once

#include "decode/picture_converter.h"
#include "media/picture.h"

#include <cstddef>
#include <deque>
#include <mutex>
#include <optional>

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
    /// Tells the distance of the key pictures around what comes next, which is seen only as time goes by.
    void expect_groups_of(Ticks distance);
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
    Ticks group_;          ///< distance of the latest key pictures
    std::optional<Position> last_key_;
};

} // namespace velmora
