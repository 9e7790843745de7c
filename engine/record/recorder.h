// Writes received packets to a file, bit for bit.
#pragma once

#include "media/packet_block.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

namespace velmora {

/// Why nothing can be recorded; what() is the end of a sentence.
class RecordingError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct RecorderSetup {
    std::string latin1_directory;
    std::optional<std::string> latin1_name; ///< of the file; nothing: named by the local time
    std::chrono::seconds limit{0};          ///< of the recording's length; 0 = none
    bool writes_index{false};
};

struct RecordingFacts {
    std::string path;       ///< of the file being written
    std::uint64_t bytes{0}; ///< written
    std::chrono::seconds length{0};
};

/// Owns the file and the thread that writes it. A slow disk never holds up who feeds: what waits is bounded,
/// what does not fit is left out, counted and told.
class Recorder {
public:
    /// Creates the file.
    /// @param on_ended called on the recorder's thread when it ends by itself: disk full, limit reached
    /// @throws RecordingError
    Recorder(const RecorderSetup& setup, std::function<void()> on_ended);
    /// Writes what waits, then closes the file.
    ~Recorder();
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    /// The first block begins with the tables and an access point. Never waits; from one thread at a time.
    void feed(SharedBlock block);
    /// Marks the second that was recorded last.
    void mark();
    /// Never waits for the disk; from any thread.
    RecordingFacts facts() const;
    /// It has not ended by itself.
    bool is_running() const;

private:
    class Writer;
    std::unique_ptr<Writer> writer_;
};

} // namespace velmora
