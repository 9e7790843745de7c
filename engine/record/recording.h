// One file that is being recorded, with its index.
#pragma once

#include "index/access_point_collector.h"
#include "index/access_point_index.h"
#include "index/sidecar_writer.h"
#include "media/file_descriptor.h"
#include "media/timeline.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace velmora {

/// Owns the files. Not thread-safe.
class Recording {
public:
    /// Creates the file; one of the same name is never touched.
    /// @param latin1_directory taken as it is, or else as the same characters in UTF-8
    /// @param latin1_name of the file; numbered when it is taken
    /// @param first_number with which numbering begins: 1 is the name itself
    /// @throws RecordingError
    Recording(const std::string& latin1_directory, const std::string& latin1_name, bool writes_index,
              int first_number = 1);

    /// Appends whole packets, and to the index what they hold.
    /// @throws RecordingError when the disk does not take them; the file ends with a whole packet then
    void write(std::span<const std::uint8_t> packets);
    /// Completes the index. Nothing can be written afterwards.
    void finish();

    const std::string& path() const { return path_; }
    /// Size of the file, bytes.
    std::uint64_t bytes() const { return bytes_; }
    /// What is known of the recorded stream's time; 0 where its streams tell none.
    IndexExtent extent() const { return index_.extent(); }

private:
    void create(const std::string& latin1_directory, const std::string& latin1_name, int first_number);
    void append_all(std::span<const std::uint8_t> packets);
    void look_at(std::span<const std::uint8_t> packets, std::uint64_t offset);

    std::string path_;
    FileDescriptor file_;
    std::uint64_t bytes_{0};
    AccessPointIndex index_;
    AccessPointCollector collector_{index_};
    std::optional<SidecarWriter> sidecar_;
};

} // namespace velmora
