// Tells whether a file is still being written.
#pragma once

#include "file/file_source.h"
#include "media/timeline.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>

namespace velmora {

/// A file grows while somebody has it open for writing, by the system's word. Where the system does not know,
/// it grows as long as it was written to not long ago. Thread-safe.
class FileGrowth {
public:
    FileGrowth(std::shared_ptr<const FileSource> source, SteadyTime now);

    /// To be asked now and then, and before what may be the end is read: what comes after the answer is no
    /// part of it.
    bool is_growing(SteadyTime now);

private:
    bool look(SteadyTime now);

    const std::shared_ptr<const FileSource> source_;
    std::mutex mutex_;
    // Protected by mutex_:
    std::uint64_t size_;
    SteadyTime written_at_;               ///< by the file system's word, or when it was seen to have grown
    std::optional<SteadyTime> writer_at_; ///< a writer, or what one had written, was seen last
    std::optional<SteadyTime> asked_at_;
    bool answer_{false};
};

} // namespace velmora
