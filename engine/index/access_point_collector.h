// Recognises the access points of a stream from its packets.
#pragma once

#include "index/access_point_index.h"
#include "ts/access_point.h"
#include "ts/pes.h"
#include "ts/stream_selection.h"
#include "ts/stream_timeline.h"
#include "ts/ts_packet.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace velmora {

/// Fed with the packets of a file in order; looks at the beginning of each unit of the leading stream only.
class AccessPointCollector {
public:
    /// Begins with what is received live, or recorded of it: the first programme that is there counts.
    explicit AccessPointCollector(AccessPointIndex& index);
    /// Begins at the beginning of a file.
    /// @param first_streams see FileSource::first_streams
    AccessPointCollector(AccessPointIndex& index, std::shared_ptr<const StreamSelection> first_streams);
    /// Begins in the middle of a file.
    /// @param streams in force there
    /// @param anchor of a unit near by
    AccessPointCollector(AccessPointIndex& index, std::shared_ptr<const StreamSelection> streams,
                         const TimeAnchor& anchor);

    void feed(const TsPacket& packet);
    /// Offset of the latest unit, while more of it is needed to tell whether it is an access point.
    std::optional<std::uint64_t> undecided() const { return unit_ ? unit_->offset : unit_offset_; }
    /// Decides the unit in progress; the extent is complete afterwards.
    void finish();
    /// Publishes the extent found so far.
    void publish_extent(bool complete);

private:
    /// The unit whose beginning is being collected.
    struct Unit {
        std::uint64_t offset{0};
        StreamTimeline::Mapped time;
        TimeAnchor anchor;
        std::size_t payload_start{0};
    };

    void begin_unit(const TsPacket& packet);
    void read_header();
    void decide(bool is_whole);

    AccessPointIndex& index_;
    ProgrammeChooser chooser_;
    std::shared_ptr<const StreamSelection> streams_; ///< the chooser's selection, for the index to share
    StreamTimeline timeline_;
    Position last_picture_{};
    std::optional<Unit> unit_;                 ///< header read, verdict open
    std::optional<std::uint64_t> unit_offset_; ///< header not read yet
    std::vector<std::uint8_t> bytes_;          ///< of the unit, from its PES header on
    bool discontinuity_{false};
};

} // namespace velmora
