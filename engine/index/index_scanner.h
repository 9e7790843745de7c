// Builds the access point index of a file in the background, and follows a file that is still being written.
#pragma once

#include "file/file_growth.h"
#include "file/file_source.h"
#include "index/access_point_index.h"
#include "pacing/time_source.h"

#include <functional>
#include <memory>

namespace velmora {

/// Whether an index is kept beside the file.
enum class SidecarUse { none, kept };

/// Reads the whole file once on its own thread, at low priority, then what is added to it; the destructor
/// stops it within one block. Where an index is kept beside the file, that is read first, and only what it
/// does not cover is scanned; a scan that reached the end is stored.
class IndexScanner {
public:
    /// @param time outlives the scanner
    /// @param on_progress called on the scanner's thread after each block, and when the file grows no more
    IndexScanner(std::shared_ptr<const FileSource> source, std::shared_ptr<FileGrowth> growth,
                 std::shared_ptr<AccessPointIndex> index, SidecarUse sidecar, TimeSource& time,
                 std::function<void()> on_progress);

private:
    Worker thread_;
};

} // namespace velmora
