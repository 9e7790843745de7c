#include "tracks/arrival_meter.h"

#include <chrono>

namespace velmora {

namespace {

using namespace std::chrono_literals;

constexpr auto span = 1s;
constexpr auto resolution = 5ms;
constexpr std::size_t bits_per_byte = 8;

} // namespace

void ArrivalMeter::add(std::size_t bytes, SteadyTime arrived) {
    forget(arrived);
    if (entries_.empty() || arrived - entries_.back().begin >= resolution) {
        entries_.push_back({arrived, 0});
    }
    entries_.back().bytes += bytes;
    bytes_ += bytes;
}

std::int32_t ArrivalMeter::kilobits_per_second(SteadyTime now) {
    forget(now);
    return static_cast<std::int32_t>(bytes_ * bits_per_byte / 1000);
}

void ArrivalMeter::forget(SteadyTime now) {
    while (!entries_.empty() && now - entries_.front().begin > span) {
        bytes_ -= entries_.front().bytes;
        entries_.pop_front();
    }
}

} // namespace velmora
