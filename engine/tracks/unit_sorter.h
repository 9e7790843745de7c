// From transport packets to the units of the selected streams, placed on the timeline.
#pragma once

#include "tracks/media_units.h"
#include "tracks/stream_meter.h"
#include "ts/data_units.h"
#include "ts/demuxer.h"
#include "ts/stream_timeline.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <span>
#include <utility>

namespace velmora {

/// Keeps the units of each stream in a queue of its own, since muxers send sound and pictures of one moment
/// far apart. Not thread-safe.
class UnitSorter {
public:
    /// An access unit of the data stream.
    struct DataUnit {
        std::span<const std::uint8_t> bytes; ///< valid during the call
        Position position;                   ///< its own, or that of the pictures beside it
    };
    using DataSink = std::function<void(const DataUnit&)>;

    /// Hands units out as soon as they seem complete, for a stream that is live.
    void hand_out_early() { demuxer_.hand_out_early(); }
    /// Names each stream that may be playable but is of no known kind on standard error, once.
    void name_unknown_streams();
    void set_data_sink(DataSink sink) { data_sink_ = std::move(sink); }
    void feed(const TsPacket& packet);
    /// Hands out the units in progress at the end of the stream.
    void finish();
    /// What has come of the payload of the next video unit; valid until the next call.
    std::span<const std::uint8_t> video_in_progress() const { return demuxer_.video_in_progress(); }
    /// Drops everything, before a jump in the stream.
    /// @param selection what is in force behind the jump, if it is known; else the present one stays
    void restart(const StreamSelection* selection, const StreamTimeline& timeline);
    /// Drops the units that wait.
    void clear();

    std::optional<QueuedVideo> take_video();
    std::optional<QueuedSound> take_sound();
    bool has_video() const { return !video_.empty(); }
    bool has_sound() const { return !sound_.empty(); }
    /// The position that the latest clock reference of the programme stands for, once.
    std::optional<Position> take_clock() { return std::exchange(clock_, std::nullopt); }
    /// Bytes of the units that wait.
    std::size_t waiting_bytes() const { return waiting_bytes_; }

    /// See Demuxer::is_scrambled.
    bool is_scrambled() const { return demuxer_.is_scrambled(); }
    const std::optional<StreamSelection>& selection() const { return demuxer_.selection(); }
    /// Distance of two units of the leading stream.
    Ticks unit_duration() const { return timeline_.unit_duration(); }
    /// Measures of what was fed last.
    const StreamMeter& meter() const { return meter_; }
    std::uint64_t continuity_errors() const { return demuxer_.continuity_errors(); }
    /// Access units of data seen.
    std::uint64_t data_units() const { return data_units_; }

private:
    void take_clock_reference(const TsPacket& packet);
    void take_events();
    void take_pes(DemuxedPes& event);
    void take_data(const PesPacket& pes);
    void take_selection(const StreamSelection& selection);

    Demuxer demuxer_;
    StreamTimeline timeline_;
    StreamMeter meter_;
    StreamSelection current_;
    std::optional<std::uint16_t> clock_pid_;
    std::optional<Position> clock_;
    StreamIdentity video_stream_;
    StreamIdentity audio_stream_;
    std::deque<QueuedVideo> video_;
    std::deque<QueuedSound> sound_;
    std::optional<Position> sound_expected_;
    std::size_t waiting_bytes_{0};
    std::uint64_t data_units_{0};
    DataUnits data_;
    DataSink data_sink_;
};

} // namespace velmora
