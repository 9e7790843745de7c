#include "tracks/stream_meter.h"

#include <chrono>
#include <cmath>

namespace velmora {

namespace {

using namespace std::chrono_literals;

constexpr Ticks window_length = 1s;
constexpr double shortest_window = 0.5; // seconds

} // namespace

void StreamMeter::add(Position decode, std::uint64_t offset) {
    if (!window_.empty() && (decode < window_.back().decode || offset < window_.back().offset)) {
        window_.clear();
    }
    window_.push_back({decode, offset});
    while (decode - window_.front().decode > window_length) {
        window_.pop_front();
    }
    measure();
}

void StreamMeter::measure() {
    const double length =
        std::chrono::duration<double>{window_.back().decode - window_.front().decode}.count();
    if (length < shortest_window) {
        return;
    }
    const auto bytes = static_cast<double>(window_.back().offset - window_.front().offset);
    units_per_second_ =
        static_cast<std::int32_t>(std::lround(static_cast<double>(window_.size() - 1) / length));
    kilobits_per_second_ = static_cast<std::int32_t>(std::lround(bytes * 8.0 / 1000.0 / length));
}

} // namespace velmora
