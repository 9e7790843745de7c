// Writes received packets to a file, bit for bit.
#pragma once

#include "diagnostics/message_board.h"
#include "media/packet_block.h"
#include "pacing/time_source.h"

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
    std::string latin1_directory;           ///< taken as it is, or else as the same characters in UTF-8
    std::optional<std::string> latin1_name; ///< of the file; nothing or "": named by the local time
    std::chrono::seconds limit{0};          ///< of the recording's length; 0 = none
    std::chrono::seconds cycle{0};          ///< at least so much of the latest is kept, not all; 0 = all
    bool writes_index{false};
};

struct RecordingFacts {
    std::string path;               ///< of the file being written
    std::uint64_t bytes{0};         ///< written to it
    std::chrono::seconds length{0}; ///< of it, by the stream's time stamps, else by the time of arrival
    std::uint64_t lost{0};          ///< bytes left out because the disk was too slow
};

/// Owns the file and the thread that writes it. A slow disk never holds up who feeds: what waits is bounded,
/// what does not fit is left out, counted and told. What arrived is in the file a fifth of a second later,
/// and in the index after that: players may follow the file while it grows, and a crash leaves both in order.
///
/// A cyclic recording consists of files that are one cycle long. Where one ends, at an access point, the next
/// begins with the tables and goes on with the same packet; the one before the last is deleted then, with its
/// index and tags.
class Recorder {
public:
    /// Creates the file; one whose name is taken becomes name_2, name_3 and so on.
    /// @param time outlives the recorder
    /// @param messages told of the beginning and of the end, and why; outlives the recorder
    /// @param on_ended called on the recorder's thread, which must not destroy the recorder, when it ends by
    /// itself: the limit is reached, or the disk is full or gone, which is told; the file is complete then
    /// @throws RecordingError
    Recorder(const RecorderSetup& setup, TimeSource& time, MessageBoard& messages,
             std::function<void()> on_ended);
    /// Writes what waits, then closes the file: this takes as long as the disk does.
    ~Recorder();
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    /// The first block begins with the tables and an access point. Never waits; from one thread at a time.
    void feed(SharedBlock block);
    /// Marks the second that was recorded last, in the list of tags beside the file. From any thread.
    void mark();
    /// Never waits for the disk; from any thread.
    RecordingFacts facts() const;
    /// It has not ended by itself.
    bool is_running() const;

    /// Takes no more blocks; what waits is still written. Does not wait for it.
    void finish();
    /// Leaves out what waits, which is counted and told. A write in progress cannot be interrupted.
    void give_up();
    /// Waits until the file is complete, or for the time.
    /// @return it is, and destruction takes no time
    bool wait_complete(std::chrono::milliseconds time) const;

private:
    class Writer;
    std::unique_ptr<Writer> writer_;
};

} // namespace velmora
