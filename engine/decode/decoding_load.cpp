#include "decode/decoding_load.h"

#include <algorithm>
#include <cmath>
#include <thread>

namespace velmora {

namespace {

using namespace std::chrono_literals;

/// The share of one thread's time that decoding may take: pictures differ, and so do the moments of a
/// machine.
constexpr double heavy = 0.7;
/// Below this share one thread is enough again.
constexpr double light = 0.35;
/// A first picture that takes longer is one of a heavy stream.
constexpr DecodingLoad::Cost heavy_picture = 110ms;
constexpr Ticks enough_to_judge = 1s;
constexpr int most_threads = 4;

int threads_for(double share) {
    const auto processors = static_cast<int>(std::thread::hardware_concurrency());
    return std::min(1 + static_cast<int>(std::ceil(share)), std::clamp(processors, 1, most_threads));
}

} // namespace

void DecodingLoad::add(std::size_t bytes, std::optional<Cost> cost) {
    bytes_ += bytes;
    if (cost) {
        bytes_of_known_cost_ += bytes;
        cost_ += *cost;
    }
}

void DecodingLoad::begin_with(std::size_t bytes, Cost cost) {
    if (bytes > 0 && cost > heavy_picture) {
        cost_per_byte_ = cost.count() / static_cast<double>(bytes);
        threads_ = threads_for(1);
    }
}

int DecodingLoad::threads_from(Position group) {
    const Ticks measured = since_ ? group - *since_ : Ticks::zero();
    if (!since_ || measured < Ticks::zero()) {
        measure_from(group);
        return threads_;
    }
    if (measured < enough_to_judge) {
        return threads_;
    }
    if (bytes_of_known_cost_ > 0) {
        cost_per_byte_ = cost_.count() / static_cast<double>(bytes_of_known_cost_);
    }
    const double share =
        cost_per_byte_ * static_cast<double>(bytes_) / std::chrono::duration<double>{measured}.count();
    if (share > heavy) {
        threads_ = std::max(threads_, threads_for(share));
    } else if (share < light) {
        threads_ = 1;
    }
    measure_from(group);
    return threads_;
}

void DecodingLoad::measure_from(Position group) {
    since_ = group;
    bytes_ = 0;
    bytes_of_known_cost_ = 0;
    cost_ = Cost::zero();
}

} // namespace velmora
