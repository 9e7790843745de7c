#include "index/access_point_index.h"

#include <algorithm>
#include <utility>

namespace velmora {

void AccessPointIndex::append(const AccessPoint& point) {
    const std::lock_guard lock{mutex_};
    if (!points_.empty() && point.offset <= points_.back().offset) {
        return;
    }
    points_.push_back(point);
    extent_.end = std::max(extent_.end, point.presentation);
}

void AccessPointIndex::set_extent(Position end, Position last_picture, bool complete) {
    const std::lock_guard lock{mutex_};
    extent_.end = end;
    extent_.last_picture = last_picture;
    extent_.complete = complete;
}

void AccessPointIndex::set_estimated_end(Position end) {
    const std::lock_guard lock{mutex_};
    extent_.estimated_end = end;
}

void AccessPointIndex::set_growing(bool growing) {
    const std::lock_guard lock{mutex_};
    extent_.growing = growing;
}

IndexExtent AccessPointIndex::extent() const {
    const std::lock_guard lock{mutex_};
    return extent_;
}

std::optional<AccessPoint> AccessPointIndex::find(Position target,
                                                  std::optional<std::uint64_t> before) const {
    const std::lock_guard lock{mutex_};
    const auto limit =
        before ? std::ranges::lower_bound(points_, *before, {}, &AccessPoint::offset) : points_.end();
    const auto above =
        std::upper_bound(points_.begin(), limit, target,
                         [](Position wanted, const AccessPoint& point) { return wanted < point.clean_from; });
    if (above != points_.begin()) {
        return *(above - 1);
    }
    return limit == points_.begin() ? std::nullopt : std::optional{points_.front()};
}

std::optional<AccessPoint> AccessPointIndex::find_next(Position from) const {
    const std::lock_guard lock{mutex_};
    const auto next = std::ranges::lower_bound(points_, from, {}, &AccessPoint::presentation);
    return next == points_.end() ? std::nullopt : std::optional{*next};
}

bool AccessPointIndex::covers(Position target) const {
    const std::lock_guard lock{mutex_};
    return extent_.complete || (!points_.empty() && target < points_.back().clean_from);
}

std::size_t AccessPointIndex::size() const {
    const std::lock_guard lock{mutex_};
    return points_.size();
}

std::vector<AccessPoint> AccessPointIndex::points() const {
    const std::lock_guard lock{mutex_};
    return points_;
}

std::vector<AccessPoint> AccessPointIndex::take_points() {
    const std::lock_guard lock{mutex_};
    return std::exchange(points_, {});
}

} // namespace velmora
