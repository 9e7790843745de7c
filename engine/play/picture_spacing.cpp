#include "play/picture_spacing.h"

#include <algorithm>
#include <chrono>
#include <cmath>

namespace velmora {

namespace {

constexpr Ticks usual_least{3000}; // 30 pictures per second

} // namespace

void PictureSpacing::set(double magnitude, Ticks unit) {
    const Ticks shown = std::clamp(unit, Ticks{1}, usual_least);
    const Ticks least{std::llround(static_cast<double>(shown.count()) * magnitude)};
    // At the stream's own pace everything is shown.
    least_ = magnitude > 1.0 ? least : Ticks{0};
}

bool PictureSpacing::admits(Position position) {
    if (!last_) {
        last_ = position;
        credit_ = Ticks{0};
        return true;
    }
    // Distance gained beyond the mean is kept for one picture, so that the mean is met by uneven distances
    // too.
    const Ticks gained = abs(position - *last_) + credit_;
    if (gained < least_) {
        return false;
    }
    credit_ = std::min(gained - least_, least_);
    last_ = position;
    return true;
}

} // namespace velmora
