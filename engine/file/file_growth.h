// Tells whether a file is still being written.
#pragma once

#include "file/file_source.h"
#include "media/timeline.h"

#include <cstdint>
#include <memory>

namespace velmora {

/// A file grows while it has become larger, or was written to, within the last second. For one thread.
class FileGrowth {
public:
    explicit FileGrowth(std::shared_ptr<const FileSource> source);

    /// To be asked now and then.
    bool is_growing(SteadyTime now);

private:
    std::shared_ptr<const FileSource> source_;
    std::uint64_t size_;
    SteadyTime grown_at_;
};

} // namespace velmora
