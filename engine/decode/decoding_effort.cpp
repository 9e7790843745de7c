#include "decode/decoding_effort.h"

#include <algorithm>
#include <numeric>
#include <vector>

namespace velmora {

namespace {

constexpr std::size_t most_pictures = 100;
/// A picture counts as no more than so many usual ones: as a key picture may, but not a standstill.
constexpr double dearest = 6.0;

} // namespace

void DecodingEffort::add(Seconds cost) {
    latest_.push_back(cost);
    if (latest_.size() > most_pictures) {
        latest_.pop_front();
    }
}

DecodingEffort::Seconds DecodingEffort::per_picture(std::size_t least) const {
    if (latest_.empty() || latest_.size() < least) {
        return Seconds::zero();
    }
    std::vector<Seconds> costs{latest_.begin(), latest_.end()};
    const auto middle = costs.begin() + static_cast<std::ptrdiff_t>(costs.size() / 2);
    std::ranges::nth_element(costs, middle);
    const Seconds most = *middle * dearest;
    const auto sum =
        std::accumulate(costs.begin(), costs.end(), Seconds::zero(),
                        [&](Seconds before, Seconds cost) { return before + std::min(cost, most); });
    return sum / static_cast<double>(costs.size());
}

} // namespace velmora
