#include "index/access_point_collector.h"

#include <algorithm>
#include <utility>

namespace velmora {

namespace {

/// Bytes of a unit to look at; parameter sets and SEI messages in front of a key picture stay far below.
constexpr std::size_t longest_look = std::size_t{256} << 10U;
constexpr std::size_t longest_pes_header = 9 + 255;

} // namespace

AccessPointCollector::AccessPointCollector(AccessPointIndex& index) : index_{index} {
    chooser_.take_first_there();
}

AccessPointCollector::AccessPointCollector(AccessPointIndex& index,
                                           std::shared_ptr<const StreamSelection> first_streams)
    : index_{index}, streams_{std::move(first_streams)} {
    chooser_.restart(streams_.get());
}

AccessPointCollector::AccessPointCollector(AccessPointIndex& index,
                                           std::shared_ptr<const StreamSelection> streams,
                                           const TimeAnchor& anchor)
    : index_{index}, streams_{std::move(streams)}, timeline_{anchor}, last_picture_{anchor.position} {
    chooser_.restart(streams_.get());
}

void AccessPointCollector::feed(const TsPacket& packet) {
    if (packet.transport_error) {
        return;
    }
    if (chooser_.feed(packet)) {
        streams_ = std::make_shared<const StreamSelection>(*chooser_.selection());
    }
    const auto& selection = chooser_.selection();
    if (!selection || packet.pid != selection->leading().pid) {
        return;
    }
    discontinuity_ = discontinuity_ || packet.discontinuity;
    if (packet.payload.empty() || packet.scrambled) {
        return;
    }
    if (packet.payload_unit_start) {
        begin_unit(packet);
    } else if (unit_ || unit_offset_) {
        bytes_.insert(bytes_.end(), packet.payload.begin(), packet.payload.end());
    } else {
        return;
    }
    if (unit_offset_) {
        read_header();
    }
    if (unit_) {
        decide(false);
    }
}

void AccessPointCollector::begin_unit(const TsPacket& packet) {
    if (unit_) {
        decide(true);
    }
    unit_offset_ = packet.offset;
    bytes_.assign(packet.payload.begin(), packet.payload.end());
}

void AccessPointCollector::read_header() {
    const auto header = parse_pes_header(bytes_);
    if (!header) {
        if (bytes_.size() > longest_pes_header) {
            unit_offset_.reset();
        }
        return;
    }
    const std::uint64_t offset = *std::exchange(unit_offset_, std::nullopt);
    if (!header->pts) {
        return;
    }
    Unit unit;
    unit.offset = offset;
    unit.time = timeline_.map_leading(*header->pts, *header->dts, std::exchange(discontinuity_, false));
    unit.anchor = TimeAnchor{*header->dts, unit.time.decode};
    unit.payload_start = header->size;
    last_picture_ = std::max(last_picture_, unit.time.presentation);
    unit_ = unit;
}

void AccessPointCollector::decide(bool is_whole) {
    const bool is_enough = is_whole || bytes_.size() > longest_look;
    const auto payload = std::span<const std::uint8_t>{bytes_}.subspan(unit_->payload_start);
    const auto result = find_access_point(chooser_.selection()->leading().codec, payload, is_enough);
    if (result.verdict == AccessPointVerdict::undecided) {
        return;
    }
    const Unit unit = *std::exchange(unit_, std::nullopt);
    if (result.verdict == AccessPointVerdict::point) {
        index_.append(AccessPoint{unit.offset, unit.anchor, unit.time.presentation,
                                  unit.time.presentation + result.recovery_frames * timeline_.unit_duration(),
                                  streams_});
    }
}

void AccessPointCollector::finish() {
    if (unit_) {
        decide(true);
    }
    publish_extent(true);
}

void AccessPointCollector::publish_extent(bool complete) {
    index_.set_extent(timeline_.end(), last_picture_, complete);
}

} // namespace velmora
