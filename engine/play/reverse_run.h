// Plays a file backward, every picture once.
#pragma once

#include "file/file_source.h"
#include "index/access_point_finder.h"
#include "play/picture_spacing.h"
#include "play/play_run.h"
#include "play/window_decoder.h"

#include <chrono>
#include <cstddef>
#include <deque>
#include <memory>
#include <optional>

namespace velmora {

/// Has stretches of the file decoded forward, the last one first, and offers their pictures from behind. What
/// it holds is bounded, whatever the distance of the file's key pictures.
class ReverseRun : public PlayRun {
public:
    /// What the run needs to know of the stream.
    struct Stream {
        Ticks unit{3600};             ///< distance of two pictures
        std::size_t picture_bytes{0}; ///< of a decoded one; 0 when not known
        PictureClassShares shares;
        std::chrono::duration<double> effort{0}; ///< decoding a picture, processor time; 0 when not known
    };

    /// @param points outlives the run
    /// @param from position that is on the screen
    /// @param wake called on other threads when there is work
    ReverseRun(std::shared_ptr<const FileSource> source, AccessPointFinder& points, RunOutlet outlet,
               const Stream& stream, Position from, const std::function<void()>& wake);
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
    bool is_early(std::chrono::duration<double> needed, double covered, std::chrono::duration<double> lasts,
                  AVDiscard skip) const;
    bool skip_what_is_late();
    void abandon_windows();
    std::size_t held() const;
    std::size_t distance() const;
    std::chrono::duration<double> reserve() const;
    AVDiscard choose_skip() const;
    double cost(AVDiscard skip) const;
    double work(AVDiscard skip, double covered) const;
    double part_in_time(AVDiscard skip, std::chrono::duration<double> lasts) const;

    AccessPointFinder& points_;
    const RunOutlet outlet_;
    const Stream stream_;
    const std::size_t budget_; ///< pictures that may be held
    PictureSpacing spacing_;
    double magnitude_{1.0};
    std::deque<std::shared_ptr<DecodedWindow>> windows_; ///< the latest stretch of the file first
    std::chrono::duration<double> effort_;               ///< decoding one picture in one thread
    double experience_{25.0};                            ///< pictures on which that rests
    Position next_end_;                                  ///< in front of it the next window ends
    DecodingStart start_;                                ///< from where that can be decoded, once it is known
    Ticks::rep group_in_front_{0};                       ///< pictures of the group in front of that, if known
    int begun_{0};                                       ///< windows
    std::optional<Position> last_offered_;
    bool offered_{false};
    bool exhausted_{false};
    WindowDecoder decoder_;
};

} // namespace velmora
