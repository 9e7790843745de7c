// Writes the index of a file while the file itself is being written.
#pragma once

#include "index/access_point_index.h"
#include "index/sidecar_format.h"
#include "media/file_descriptor.h"

#include <span>
#include <string>

namespace velmora {

/// Owns the index file, and the lock on it that keeps players from replacing it. What cannot be written is
/// told, then done without: the file it belongs to is more important. Not thread-safe.
class SidecarWriter {
public:
    /// Begins anew when there is an index already.
    explicit SidecarWriter(const std::string& file_path);

    /// @param points whose data the file holds already
    void append(std::span<const AccessPoint> points);
    /// The file is complete.
    void finish(const SidecarExtent& extent);

private:
    void write();

    std::string path_;
    FileDescriptor file_;
    SidecarEncoder encoder_;
};

} // namespace velmora
