#include "record/cycle_cutter.h"

#include "ts/ts_packet.h"

#include <utility>

namespace velmora {

namespace {

template <class Sink>
void for_each_packet(std::span<const std::uint8_t> packets, std::uint64_t offset, Sink&& sink) {
    for (std::size_t at = 0; at + ts_packet_size <= packets.size(); at += ts_packet_size) {
        if (const auto packet = parse_ts_packet(packets.subspan(at).first<ts_packet_size>(), offset + at)) {
            sink(*packet);
        }
    }
}

} // namespace

void CycleCutter::feed(std::span<const std::uint8_t> packets) {
    for_each_packet(packets, begin_ + waiting_.size(),
                    [this](const TsPacket& packet) { collector_.feed(packet); });
    waiting_.insert(waiting_.end(), packets.begin(), packets.end());
    for (const AccessPoint& point : index_.take_points()) {
        access_points_.push_back(point.offset);
    }
}

CycleCutter::Piece CycleCutter::take() {
    if (!access_points_.empty()) {
        const std::uint64_t point = access_points_.front();
        access_points_.pop_front();
        return {take_until(point), true};
    }
    return {take_until(collector_.undecided().value_or(begin_ + waiting_.size())), false};
}

std::vector<std::uint8_t> CycleCutter::take_rest() {
    access_points_.clear();
    return take_until(begin_ + waiting_.size());
}

std::vector<std::uint8_t> CycleCutter::take_until(std::uint64_t offset) {
    const auto end = waiting_.begin() + static_cast<std::ptrdiff_t>(offset - begin_);
    std::vector<std::uint8_t> taken(waiting_.begin(), end);
    waiting_.erase(waiting_.begin(), end);
    for_each_packet(taken, begin_, [this](const TsPacket& packet) { tables_.feed(packet); });
    begin_ = offset;
    return taken;
}

} // namespace velmora
