// Where in a file decoding can begin.
#pragma once

#include "media/timeline.h"
#include "ts/stream_selection.h"
#include "ts/stream_timeline.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace velmora {

/// A random access point of the leading stream.
struct AccessPoint {
    std::uint64_t offset{0}; ///< of the first transport packet of its unit, bytes
    TimeAnchor anchor;       ///< of its decoding time stamp
    Position presentation;   ///< of its picture
    Position clean_from;     ///< first picture that comes out right when decoding begins here
    std::shared_ptr<const StreamSelection>
        streams; ///< in force there: the tables may stand far in front of it
};

/// What is known of a file's extent.
struct IndexExtent {
    Position end;           ///< end of the last picture found
    Position last_picture;  ///< begin of the last picture found
    Position estimated_end; ///< from the file's tail, while the scan runs; 0 when nothing is to be seen there
    bool complete{false};   ///< all that the file holds was scanned
    bool growing{false};    ///< the file is still being written

    /// The best that is known of the end of the last picture.
    Position likely_end() const { return complete ? end : std::max(end, estimated_end); }
};

/// Grows while a scanner runs, is searched by the player. Thread-safe.
class AccessPointIndex {
public:
    /// A point that does not lie behind the last one is known already and left out.
    void append(const AccessPoint& point);
    void set_extent(Position end, Position last_picture, bool complete);
    void set_estimated_end(Position end);
    void set_growing(bool growing);

    IndexExtent extent() const;
    /// The last access point from which the picture at `target` comes out right, or the first of all.
    /// @param before only points in front of this byte offset, to step back from one that did not serve
    std::optional<AccessPoint> find(Position target,
                                    std::optional<std::uint64_t> before = std::nullopt) const;
    /// The first access point whose picture stands at or behind `from`, if one is known.
    std::optional<AccessPoint> find_next(Position from) const;
    /// The index reaches beyond `target`, or is complete.
    bool covers(Position target) const;
    std::size_t size() const;
    /// A copy of all points, in file order.
    std::vector<AccessPoint> points() const;
    /// Moves the points out; the extent stays.
    std::vector<AccessPoint> take_points();

private:
    mutable std::mutex mutex_;
    std::vector<AccessPoint> points_; ///< in file order, which is timeline order
    IndexExtent extent_;
};

} // namespace velmora
