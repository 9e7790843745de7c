// Races through a file, forward or in reverse, showing key pictures only.
#pragma once

#include "file/file_source.h"
#include "file/stream_feed.h"
#include "index/access_point_finder.h"
#include "play/play_run.h"
#include "tracks/video_track.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace velmora {

/// Goes from access point to access point without decoding what lies between.
class KeyRun : public PlayRun {
public:
    enum class Direction { forward, reverse };

    /// @param points outlives the run
    /// @param from position that is on the screen
    KeyRun(std::shared_ptr<const FileSource> source, AccessPointFinder& points, RunOutlet outlet,
           Direction direction, Position from);

    bool work() override;
    std::optional<Position> limit() const override;
    std::optional<Position> last_offered() const override { return last_offered_; }
    void set_magnitude(double magnitude) override;

private:
    std::optional<AccessPoint> next_point();
    std::optional<AccessPoint> point_beyond(Position target);
    bool is_beyond(Position position) const;
    std::optional<Picture> decode(const AccessPoint& point);

    AccessPointFinder& points_;
    const RunOutlet outlet_;
    const Direction direction_;
    StreamFeed feed_;
    VideoTrack video_;
    Ticks spacing_{0}; ///< least distance of two pictures
    Position reached_; ///< nothing on this side of it is shown any more
    std::uint64_t told_errors_{0};
    std::optional<Picture> pending_;
    std::optional<Position> last_offered_;
    bool offered_{false};
    bool exhausted_{false};
};

} // namespace velmora
