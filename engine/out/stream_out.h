// Sends a played file out as a live stream.
#pragma once

#include "file/file_source.h"
#include "index/access_point_finder.h"
#include "media/timeline.h"
#include "out/datagram_sender.h"
#include "out/paced_packets.h"
#include "pacing/time_source.h"
#include "play/play_progress.h"
#include "ts/stream_selection.h"
#include "ts/table_packets.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <stop_token>

namespace velmora {

/// Owns the thread that sends. While the file plays forward at normal speed its packets go out bit for bit
/// and by its own clock, each stretch from an access point on, behind the tables; else tables and null
/// packets keep receivers waiting.
class StreamOut {
public:
    /// What is sent, and by whose lead.
    struct Source {
        std::shared_ptr<const FileSource> file;
        std::shared_ptr<const AccessPointIndex> index;
        std::function<PlayProgress()> progress; ///< called on the sender's thread
    };

    /// @param time outlives the sender
    /// @throws std::runtime_error when there is nothing to send with
    StreamOut(Source source, const DatagramTarget& target, TimeSource& time);
    ~StreamOut() = default;
    StreamOut(const StreamOut&) = delete;
    StreamOut& operator=(const StreamOut&) = delete;

    /// Pictures sent so far; any thread.
    std::uint64_t pictures() const { return pictures_.load(); }

private:
    void run(const std::stop_token& stop);
    SteadyTime step();
    bool begin_stretch(Position position);
    void read_tables_before(std::uint64_t offset);
    void send_until(std::chrono::nanoseconds time);
    void send_packet(const PacedPacket& packet);
    void keep_waiting(SteadyTime now);
    void put_tables();
    std::uint32_t rtp_time(SteadyTime now) const;

    TimeSource& time_;
    const std::unique_ptr<WakeSignal> never_{time_.make_signal()};
    const Source source_;
    DatagramSender sender_;
    AccessPointFinder points_;
    PacedPackets packets_;
    TablePackets tables_;
    ProgrammeChooser chooser_;
    std::set<std::uint16_t> announced_;           ///< PIDs sent in this stretch
    std::map<unsigned, unsigned> table_counters_; ///< by PID
    std::optional<std::uint64_t> stretch_;        ///< the jump count that is being sent
    SteadyTime stretch_begin_;
    SteadyTime sent_at_;
    std::chrono::nanoseconds sent_to_{0}; ///< of the stretch
    SteadyTime kept_waiting_at_;
    std::atomic<std::uint64_t> pictures_{0};

    Worker thread_; ///< last, so that it ends first
};

} // namespace velmora
