#include "live/stream_backlog.h"

#include "ts/ts_packet.h"

#include <utility>

namespace velmora {

namespace {

constexpr std::size_t most_bytes = std::size_t{32} << 20U;

} // namespace

void StreamBacklog::feed(const SharedBlock& block) {
    blocks_.push_back({received_, block});
    bytes_ += block->bytes.size();
    const std::span<const std::uint8_t> bytes{block->bytes};
    for (std::size_t at = 0; at + ts_packet_size <= bytes.size(); at += ts_packet_size) {
        if (const auto packet = parse_ts_packet(bytes.subspan(at).first<ts_packet_size>(), received_ + at)) {
            tables_.feed(*packet);
            collector_.feed(*packet);
        }
    }
    received_ += bytes.size();
    if (const auto points = index_.take_points(); !points.empty()) {
        begin_at(points.back().offset);
    }
    while (bytes_ > most_bytes) {
        drop_front();
        has_access_point_ = has_access_point_ && blocks_.front().offset <= access_point_;
    }
}

void StreamBacklog::begin_at(std::uint64_t offset) {
    access_point_ = offset;
    tables_of_point_ = tables_.bytes();
    has_access_point_ = true;
    while (blocks_.size() > 1 && blocks_[1].offset <= offset) {
        drop_front();
    }
}

void StreamBacklog::drop_front() {
    bytes_ -= blocks_.front().block->bytes.size();
    blocks_.pop_front();
}

std::vector<SharedBlock> StreamBacklog::from_access_point() const {
    if (!has_access_point_) {
        return {};
    }
    std::vector<SharedBlock> blocks;
    auto first = std::make_shared<PacketBlock>();
    first->arrived = blocks_.front().block->arrived;
    first->bytes = tables_of_point_;
    const std::span<const std::uint8_t> cut =
        std::span{blocks_.front().block->bytes}.subspan(access_point_ - blocks_.front().offset);
    first->bytes.insert(first->bytes.end(), cut.begin(), cut.end());
    blocks.push_back(std::move(first));
    for (std::size_t i = 1; i < blocks_.size(); ++i) {
        blocks.push_back(blocks_[i].block);
    }
    return blocks;
}

} // namespace velmora
