// Builds the access point index of a file in the background, and follows a file that is still being written.
#pragma once

#include "file/file_source.h"
#include "index/access_point_index.h"

#include <functional>
#include <memory>
#include <thread>

namespace velmora {

/// Reads the whole file once on its own thread, at low priority, then what is added to it; the destructor
/// stops it within one block.
class IndexScanner {
public:
    /// @param on_progress called on the scanner's thread after each block, and when the file grows no more
    IndexScanner(std::shared_ptr<const FileSource> source, std::shared_ptr<AccessPointIndex> index,
                 std::function<void()> on_progress);

private:
    std::jthread thread_;
};

} // namespace velmora
