// Reads a file and offers the units of its selected streams.
#pragma once

#include "file/file_source.h"
#include "file/media_units.h"
#include "file/packet_reader.h"
#include "file/stream_meter.h"
#include "index/access_point_index.h"
#include "ts/demuxer.h"
#include "ts/stream_timeline.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>

namespace velmora {

/// Pulls packets when units are wanted and keeps the units of each stream in a queue of its own, since muxers
/// send sound and pictures of one moment far apart. Not thread-safe.
class StreamFeed {
public:
    explicit StreamFeed(std::shared_ptr<const FileSource> source);

    /// Whether what is read last may go on: then its units in progress wait for the rest.
    void set_may_grow(std::function<bool()> may_grow) { may_grow_ = std::move(may_grow); }
    /// Reads one block of the file.
    /// @return false when there was nothing to read any more, or nothing yet
    bool read_more();
    /// Goes on at an access point, or at the beginning of the file.
    void seek(const std::optional<AccessPoint>& point);

    std::optional<QueuedVideo> take_video();
    std::optional<QueuedSound> take_sound();
    bool has_video() const { return !video_.empty(); }
    bool has_sound() const { return !sound_.empty(); }
    /// Bytes of the units that wait.
    std::size_t waiting_bytes() const { return waiting_bytes_; }
    /// Everything of the file has been read.
    bool at_end() const { return at_end_; }
    /// Where reading goes on, bytes.
    std::uint64_t offset() const { return reader_.offset(); }

    const std::optional<StreamSelection>& selection() const { return demuxer_.selection(); }
    /// Distance of two units of the leading stream.
    Ticks unit_duration() const { return timeline_.unit_duration(); }
    /// Measures of what was read last.
    const StreamMeter& meter() const { return meter_; }
    std::uint64_t continuity_errors() const { return demuxer_.continuity_errors(); }
    /// Units of data seen.
    std::uint64_t data_units() const { return data_units_; }

private:
    void take_events();
    void take_pes(DemuxedPes& event);
    void take_selection(const StreamSelection& selection);

    PacketReader reader_;
    Demuxer demuxer_;
    StreamTimeline timeline_;
    StreamMeter meter_;
    StreamSelection current_;
    StreamIdentity video_stream_;
    StreamIdentity audio_stream_;
    std::deque<QueuedVideo> video_;
    std::deque<QueuedSound> sound_;
    std::optional<Position> sound_expected_;
    std::size_t waiting_bytes_{0};
    std::uint64_t data_units_{0};
    bool at_end_{false};
    std::function<bool()> may_grow_;
};

} // namespace velmora
