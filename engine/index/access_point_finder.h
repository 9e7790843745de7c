// Where decoding begins for a position, whether the file has been scanned that far or not.
#pragma once

#include "file/file_source.h"
#include "index/access_point_index.h"
#include "index/bisector.h"

#include <memory>
#include <optional>

namespace velmora {

/// An access point, or the file's beginning where there is none.
using DecodingStart = std::optional<AccessPoint>;

/// Asks the index, and bisects a large file where the index does not reach yet. For one thread.
class AccessPointFinder {
public:
    AccessPointFinder(std::shared_ptr<const FileSource> source, std::shared_ptr<const AccessPointIndex> index)
        : source_{std::move(source)}, index_{std::move(index)} {}

    IndexExtent extent() const { return index_->extent(); }
    /// @return nothing while it is not known: the scan has to go on first
    std::optional<DecodingStart> find(Position target);
    /// The access point to step back to from one that did not serve.
    DecodingStart find_before(Position target, const AccessPoint& unserving) const;
    /// The first access point at or behind `from`; nothing when there is none, or it is not known yet.
    std::optional<AccessPoint> find_next(Position from) const { return index_->find_next(from); }

private:
    std::optional<AccessPoint> bisect(Position target);

    std::shared_ptr<const FileSource> source_;
    std::shared_ptr<const AccessPointIndex> index_;
    std::unique_ptr<Bisector> bisector_;
    std::optional<Position> not_bisected_; ///< a target that waits for the scan
};

} // namespace velmora
