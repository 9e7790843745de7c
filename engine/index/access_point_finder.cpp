#include "index/access_point_finder.h"

namespace velmora {

std::optional<DecodingStart> AccessPointFinder::find(Position target) {
    if (index_->covers(target)) {
        return index_->find(target);
    }
    auto point = bisect(target);
    return point ? std::optional<DecodingStart>{std::move(point)} : std::nullopt;
}

std::optional<AccessPoint> AccessPointFinder::bisect(Position target) {
    if (source_->size() < Bisector::worthwhile || not_bisected_ == target) {
        return std::nullopt;
    }
    if (!bisector_) {
        bisector_ = std::make_unique<Bisector>(source_);
    }
    auto point = bisector_->find(target);
    if (!point) {
        not_bisected_ = target;
    }
    return point;
}

DecodingStart AccessPointFinder::find_before(Position target, const AccessPoint& unserving) const {
    if (!index_->covers(target)) {
        return std::nullopt;
    }
    auto earlier = index_->find(target, unserving.offset);
    return earlier && earlier->offset < unserving.offset ? earlier : std::nullopt;
}

} // namespace velmora
