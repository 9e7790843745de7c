// Plays a file forward from any place: every picture, or as many as a higher speed leaves.
#pragma once

#include "file/file_source.h"
#include "file/stream_feed.h"
#include "index/access_point_finder.h"
#include "play/lateness.h"
#include "play/picture_spacing.h"
#include "play/play_run.h"
#include "tracks/sound_track.h"
#include "tracks/video_track.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace velmora {

/// The first picture that it offers is the first one at or behind the position asked for.
class ForwardRun : public PlayRun {
public:
    /// @param name of the file, for the developer
    /// @param may_grow asked at the file's end: it is still being written
    /// @param points outlives the run
    ForwardRun(std::shared_ptr<const FileSource> source, AccessPointFinder& points, RunOutlet outlet,
               std::string name, std::function<bool()> may_grow);

    /// Begins at the file's beginning; its first picture is shown before its successors are decoded.
    void begin_with_preview();
    /// Begins again.
    /// @param start from where `target` can be decoded
    void begin(const DecodingStart& start, Position target);

    bool work() override;
    std::optional<Position> limit() const override;
    std::optional<Position> last_offered() const override { return last_offered_; }
    void set_magnitude(double magnitude) override;
    /// Whether going back to a lower speed needs a new beginning, since references were left out.
    bool lacks_references() const { return skip_ > AVDISCARD_NONREF; }

    /// Not every picture is offered, for the speed or because playing is late.
    bool leaves_out() const { return !sound_only() && (skip_ != AVDISCARD_DEFAULT || magnitude_ > 1.0); }

    /// The last picture offered that the end of the file cannot have cut.
    std::optional<Position> last_certain() const { return last_certain_; }
    /// Receives the data beside what is played, ahead of its time.
    void set_data_sink(UnitSorter::DataSink sink) { feed_.units().set_data_sink(std::move(sink)); }
    /// Plays sound without pictures.
    bool sound_only() const;
    const StreamFeed& feed() const { return feed_; }
    const VideoTrack& video() const { return video_; }
    const SoundTrack& sound() const { return sound_; }

private:
    /// What is tried, in this order, until something can be shown or heard.
    enum class Approach { from_access_point, from_anywhere, sound_only };

    void restart(const DecodingStart& start, Position target);
    bool decode_video();
    bool decode_sound();
    void offer_preview(Picture picture);
    bool offer_pictures();
    bool offer_sounds();
    void keep_up(Position position);
    bool decoding_is_light() const;
    void set_skip(AVDiscard skip);
    void choose_skip();
    bool wants_sound() const;
    bool needs_more() const;
    bool finds_nothing() const;
    bool step_back_from(const Picture& first);
    bool step_back();
    bool finish_tracks();
    void try_next_approach();

    AccessPointFinder& points_;
    const RunOutlet outlet_;
    const std::string name_;
    StreamFeed feed_;
    VideoTrack video_;
    SoundTrack sound_;
    PictureSpacing spacing_;
    double magnitude_{1.0};
    AVDiscard skip_{AVDISCARD_DEFAULT};
    Lateness lateness_;
    Approach approach_{Approach::from_access_point};
    DecodingStart started_at_; ///< where decoding of the present run began
    Position target_{};        ///< first position wanted
    int steps_back_{0};
    bool offered_{false};    ///< the first picture or sound since the beginning
    bool has_played_{false}; ///< something was offered since the file was opened
    bool tracks_finished_{false};
    bool awaits_growth_{false};            ///< everything that a growing file held had been read
    std::optional<Position> last_offered_; ///< picture
    std::optional<Position> last_certain_; ///< picture
};

} // namespace velmora
