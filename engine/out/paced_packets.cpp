#include "out/paced_packets.h"

#include "ts/clock_reference.h"
#include "ts/stream_timeline.h"

#include <algorithm>

namespace velmora {

namespace {

using namespace std::chrono_literals;

constexpr std::size_t block_size = std::size_t{64} << 10U;
/// Where to look for clock references before doing without, bytes.
constexpr std::uint64_t longest_search = std::uint64_t{4} << 20U;
/// References further apart are a jump of the stream's clock.
constexpr Ticks longest_gap = 10s;
constexpr std::size_t most_untimed = (std::size_t{16} << 20U) / ts_packet_size;
/// Before anything is known of the stream's rate.
constexpr double assumed_nanoseconds_per_packet = 188'000.0; // 8 Mbit/s

} // namespace

PacedPackets::PacedPackets(std::shared_ptr<const FileSource> source)
    : reader_{std::move(source), block_size} {
    bool goes_on = true;
    while (goes_on && !has_clock_ && reader_.offset() < longest_search) {
        goes_on = reader_.read_block([this](const TsPacket& packet) {
            has_clock_ = has_clock_ || clock_reference(packet).has_value();
        });
    }
}

void PacedPackets::begin(std::uint64_t offset) {
    reader_.seek(offset);
    pid_.reset();
    last_.reset();
    placed_to_ = 0ns;
    timed_.clear();
    untimed_.clear();
}

const PacedPacket* PacedPackets::front() {
    while (timed_.empty()) {
        const std::uint64_t offset = reader_.offset();
        const bool goes_on = reader_.read_block([this](const TsPacket& packet) { take(packet); }, true);
        if (!goes_on && reader_.offset() == offset) {
            if (untimed_.empty()) {
                return nullptr;
            }
            // The last reference of the file: what follows keeps the pace.
            place(std::chrono::nanoseconds{
                static_cast<std::int64_t>(nanoseconds_per_packet_ * static_cast<double>(untimed_.size()))});
        }
    }
    return &timed_.front();
}

std::optional<StreamTime> PacedPackets::reference(const TsPacket& packet) const {
    if (pid_ && packet.pid != *pid_) {
        return std::nullopt;
    }
    if (has_clock_) {
        return clock_reference(packet);
    }
    const auto header = packet.payload_unit_start ? parse_pes_header(packet.payload) : std::nullopt;
    return header ? header->dts : std::nullopt;
}

void PacedPackets::take(const TsPacket& packet) {
    if (const auto now = reference(packet)) {
        pid_ = packet.pid;
        const Ticks gap = last_ ? stream_distance(*last_, *now) : Ticks{0};
        const bool is_continuous = last_ && gap > Ticks{0} && gap <= longest_gap;
        const double count = static_cast<double>(std::max<std::size_t>(untimed_.size(), 1));
        auto span = std::chrono::duration_cast<std::chrono::nanoseconds>(gap);
        if (is_continuous) {
            nanoseconds_per_packet_ = static_cast<double>(span.count()) / count;
        } else {
            // In front of the first reference there is nothing to go by, and a jump takes no time.
            const double pace = nanoseconds_per_packet_ > 0.0 ? nanoseconds_per_packet_ : 0.0;
            span = std::chrono::nanoseconds{static_cast<std::int64_t>(pace * count)};
        }
        last_ = now;
        place(span);
    } else if (untimed_.size() >= most_untimed) {
        const double pace =
            nanoseconds_per_packet_ > 0.0 ? nanoseconds_per_packet_ : assumed_nanoseconds_per_packet;
        place(
            std::chrono::nanoseconds{static_cast<std::int64_t>(pace * static_cast<double>(untimed_.size()))});
    }
    PacedPacket& kept = untimed_.emplace_back();
    std::ranges::copy(packet.bytes, kept.bytes.begin());
}

/// Spreads what has no time yet over the next `span`.
void PacedPackets::place(std::chrono::nanoseconds span) {
    const auto count = static_cast<std::int64_t>(untimed_.size());
    std::int64_t number = 0;
    for (PacedPacket& packet : untimed_) {
        packet.time = placed_to_ + span * number / count;
        ++number;
        timed_.push_back(packet);
    }
    untimed_.clear();
    placed_to_ += span;
}

} // namespace velmora
