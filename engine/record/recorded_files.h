// The file of a recording, or one after the other of a cyclic one.
#pragma once

#include "media/packet_block.h"
#include "record/cycle_cutter.h"
#include "record/recorder.h"
#include "record/recording.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

namespace velmora {

/// Owns the files. Of a cyclic recording the last complete one and the one that is written are kept; what may
/// be the first packet of the next one is written a moment later. Not thread-safe.
class RecordedFiles {
public:
    /// @throws RecordingError when the first file cannot be created
    explicit RecordedFiles(RecorderSetup setup);

    /// @param first, last when the packets arrived
    /// @throws RecordingError when the disk does not take them
    void write(std::span<const std::uint8_t> packets, SteadyTime first, SteadyTime last);
    /// Writes what waits and completes the file and its index.
    /// @throws RecordingError
    void finish();

    /// Of the file being written.
    const std::string& path() const { return recording_->path(); }
    std::uint64_t bytes() const { return recording_->bytes(); }
    /// Of the file being written: by the stream's time stamps, where it has none by its arrival.
    std::chrono::seconds length() const;
    /// Second of its last picture.
    std::chrono::seconds last_second() const;
    /// Of all that was recorded, what is deleted too.
    std::chrono::seconds total_length() const { return finished_length_ + length(); }

private:
    void write_cyclic();
    void begin_next();
    std::unique_ptr<Recording> make_recording();

    const RecorderSetup setup_;
    int files_{0}; ///< begun
    std::unique_ptr<Recording> recording_;
    std::unique_ptr<CycleCutter> cutter_; ///< of a cyclic recording that goes on
    std::string previous_path_;           ///< of the last complete file; empty while there is none
    std::chrono::seconds finished_length_{0};
    std::optional<SteadyTime> first_arrival_; ///< in the file being written
    SteadyTime last_arrival_{};
};

} // namespace velmora
