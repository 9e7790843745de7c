// Plays a file backward, every picture once.
#pragma once

#include "file/file_source.h"
#include "index/access_point_finder.h"
#include "play/picture_spacing.h"
#include "play/play_run.h"
#include "play/reverse_plan.h"
#include "play/window_decoder.h"

#include <cstddef>
#include <deque>
#include <memory>
#include <optional>

namespace velmora {

/// Has stretches of the file decoded forward, the last one first, and offers their pictures from behind. What
/// it holds is bounded, whatever the distance of the file's key pictures.
class ReverseRun : public PlayRun {
public:
    /// @param points outlives the run
    /// @param from position that is on the screen
    /// @param wake called on other threads when there is work
    ReverseRun(std::shared_ptr<const FileSource> source, AccessPointFinder& points, RunOutlet outlet,
               const ReverseStream& stream, Position from, const std::function<void()>& wake);
    ~ReverseRun() override;
    ReverseRun(const ReverseRun&) = delete;
    ReverseRun& operator=(const ReverseRun&) = delete;

    /// Begins with pictures that are there already.
    /// @param shown successive pictures, the last one being that on the screen; what is anything else is left
    void begin_with(std::deque<Picture> shown);

    bool work() override;
    std::optional<Position> limit() const override;
    std::optional<Position> last_offered() const override { return last_offered_; }
    void set_magnitude(double magnitude) override;

private:
    void take_account();
    bool offer();
    bool find_start();
    bool schedule();
    bool skip_what_is_late();
    void abandon_windows();
    std::size_t held() const;
    double distance() const;
    ReversePlan::Seconds reserve() const;

    AccessPointFinder& points_;
    const RunOutlet outlet_;
    const Ticks unit_; ///< distance of two pictures
    ReversePlan plan_;
    PictureSpacing spacing_;
    std::deque<std::shared_ptr<DecodedWindow>> windows_; ///< the latest stretch of the file first
    Position next_end_;                                  ///< in front of it the next window ends
    DecodingStart start_;                                ///< from where that can be decoded, once it is known
    Ticks::rep group_in_front_{0};                       ///< pictures of the group in front of that, if known
    std::optional<Position> last_offered_;
    bool offered_{false};
    bool exhausted_{false};
    bool has_skipped_{false}; ///< pictures in front of the next window's end, since they would come too late
    WindowDecoder decoder_;
};

} // namespace velmora
