#include "index/bisector.h"

#include "index/access_point_collector.h"
#include "ts/pes.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace velmora {

namespace {

using namespace std::chrono_literals;

constexpr std::size_t read_block_size = std::size_t{64} << 10U;
/// How far from a place to look for a unit of the leading stream, bytes.
constexpr std::uint64_t longest_look = std::uint64_t{4} << 20U;
constexpr std::uint64_t shortest_tail = std::uint64_t{1} << 20U;
constexpr std::uint64_t longest_tail = std::uint64_t{16} << 20U;
/// Two places this close are near enough to go on packet by packet, bytes.
constexpr std::uint64_t close = std::uint64_t{512} << 10U;
/// Two key pictures should not lie further apart, bytes.
constexpr std::uint64_t longest_group = std::uint64_t{64} << 20U;
/// Pictures are sent in decoding order: how much later one may be sent than one that is shown after it.
constexpr Ticks longest_reordering = 2s;

/// Places looked at to tell one piece from several, and how uneven the time between them may be.
constexpr int places_checked = 16;
constexpr int most_uneven = 4;

struct LeadingUnit {
    std::uint64_t offset;
    StreamTime pts;
    StreamTime dts;
};

/// The unit of `pid` that begins in the packet, if one does.
std::optional<LeadingUnit> unit_in(const TsPacket& packet, std::uint16_t pid) {
    if (packet.pid != pid || !packet.payload_unit_start || packet.transport_error || packet.scrambled) {
        return std::nullopt;
    }
    const auto header = parse_pes_header(packet.payload);
    if (!header || !header->pts) {
        return std::nullopt;
    }
    return LeadingUnit{packet.offset, *header->pts, *header->dts};
}

} // namespace

Bisector::Bisector(std::shared_ptr<const FileSource> source)
    : source_{std::move(source)}, reader_{source_, read_block_size, PacketReader::Losses::silent},
      size_{source_->size()} {
    if (!read_head()) {
        return;
    }
    const auto end = read_tail();
    if (end && is_continuous(*end)) {
        end_ = end;
    }
}

bool Bisector::read_head() {
    ProgrammeChooser chooser;
    chooser.restart(source_->first_streams().get());
    std::optional<Place> found;
    bool goes_on = true;
    while (goes_on && !found && reader_.offset() < longest_look) {
        goes_on = reader_.read_block([&](const TsPacket& packet) {
            chooser.feed(packet);
            if (found || !chooser.selection()) {
                return;
            }
            if (const auto unit = unit_in(packet, chooser.selection()->leading().pid)) {
                StreamTimeline timeline;
                timeline.map_leading(unit->pts, unit->dts, false);
                found = Place{unit->offset, *timeline.anchor()};
            }
        });
    }
    if (!found) {
        return false;
    }
    head_ = *found;
    streams_ = std::make_shared<const StreamSelection>(*chooser.selection());
    return true;
}

std::optional<Position> Bisector::read_tail() {
    for (std::uint64_t length = shortest_tail; length <= longest_tail; length *= 2) {
        const std::uint64_t begin = size_ > length ? size_ - length : 0;
        if (const auto place = first_unit_from(begin)) {
            StreamTimeline timeline{place->anchor};
            reader_.seek(place->offset);
            const auto map = [&](const TsPacket& packet) {
                if (const auto unit = unit_in(packet, streams_->leading().pid)) {
                    timeline.map_leading(unit->pts, unit->dts, packet.discontinuity);
                }
            };
            while (reader_.read_block(map)) {
            }
            return timeline.end();
        }
        if (begin == 0) {
            break;
        }
    }
    return std::nullopt;
}

bool Bisector::is_continuous(Position end) {
    const Ticks longest_step = (end - head_.anchor.position) / places_checked * most_uneven;
    Position previous = head_.anchor.position;
    for (int i = 1; i < places_checked; ++i) {
        const auto place = first_unit_from(size_ / places_checked * static_cast<std::uint64_t>(i));
        if (!place) {
            return false;
        }
        const Ticks step = place->anchor.position - previous;
        if (step < Ticks{0} || step > longest_step) {
            return false;
        }
        previous = place->anchor.position;
    }
    return end - previous <= longest_step && end >= previous;
}

std::uint64_t Bisector::aligned(std::uint64_t offset) const {
    const auto& layout = source_->layout();
    if (offset <= layout.first_sync) {
        return layout.first_sync;
    }
    return offset - (offset - layout.first_sync) % layout.stride;
}

std::optional<Bisector::Place> Bisector::first_unit_from(std::uint64_t offset) {
    std::optional<Place> found;
    bool goes_on = true;
    reader_.seek(aligned(offset));
    while (goes_on && !found && reader_.offset() < offset + longest_look) {
        goes_on = reader_.read_block([&](const TsPacket& packet) {
            if (found) {
                return;
            }
            if (const auto unit = unit_in(packet, streams_->leading().pid)) {
                const Ticks distance = stream_distance(head_.anchor.stream, unit->dts);
                found = Place{unit->offset, TimeAnchor{unit->dts, head_.anchor.position + distance}};
            }
        });
    }
    return found;
}

/// A place whose unit is decoded before `target`, and not long before.
Bisector::Place Bisector::last_place_before(Position target) {
    Place low = head_;
    std::uint64_t high = size_;
    while (high - low.offset > close) {
        const std::uint64_t middle = low.offset + (high - low.offset) / 2;
        const auto place = first_unit_from(middle);
        if (!place || place->offset >= high || place->anchor.position > target) {
            high = middle;
        } else {
            low = *place;
        }
    }
    return low;
}

std::optional<AccessPoint> Bisector::find(Position target) {
    if (!end_ || target >= *end_) {
        return std::nullopt;
    }
    const Place near = last_place_before(target);
    const std::uint64_t end = near.offset + 2 * close;
    for (std::uint64_t length = close; length <= longest_group; length *= 2) {
        const std::uint64_t begin = near.offset > length ? near.offset - length : 0;
        auto point = find_in(begin, end, target);
        if (point && (point->clean_from <= target || begin == 0)) {
            return point;
        }
        if (begin == 0) {
            break;
        }
    }
    return std::nullopt;
}

std::optional<AccessPoint> Bisector::find_in(std::uint64_t begin, std::uint64_t end, Position target) {
    const auto place = first_unit_from(begin);
    if (!place) {
        return std::nullopt;
    }
    AccessPointIndex found;
    AccessPointCollector collector{found, streams_, place->anchor};
    reader_.seek(place->offset);
    const auto feed = [&](const TsPacket& packet) { collector.feed(packet); };
    while (reader_.offset() < end + longest_look && reader_.read_block(feed)) {
        collector.publish_extent(false);
        if (reader_.offset() >= end && found.extent().last_picture > target + longest_reordering) {
            break;
        }
    }
    collector.finish();
    return found.find(target);
}

} // namespace velmora
