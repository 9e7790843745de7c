#include "play/due_data.h"

#include "diagnostics/log.h"

namespace velmora {

namespace {

constexpr std::size_t most_bytes = std::size_t{16} << 20U;

} // namespace

void DueData::restart(Position from) {
    units_.clear();
    bytes_ = 0;
    from_ = from;
}

void DueData::put(Position position, std::span<const std::uint8_t> unit) {
    if (position < from_) {
        return;
    }
    if (bytes_ + unit.size() > most_bytes) {
        log_incident("data", "overflow", "the file's data lies far in front of its time, a unit left out");
        return;
    }
    bytes_ += unit.size();
    units_.push_back({position, {unit.begin(), unit.end()}});
}

std::optional<SteadyTime> DueData::hand_out(const PlayClock& clock, SteadyTime now, const Sink& sink) {
    if (clock.rate() <= 0.0) {
        return std::nullopt;
    }
    while (!units_.empty() && clock.due(units_.front().position) <= now) {
        sink(units_.front().bytes);
        bytes_ -= units_.front().bytes.size();
        units_.pop_front();
    }
    return units_.empty() ? std::nullopt : std::optional{clock.due(units_.front().position)};
}

} // namespace velmora
