// The packets of a file with the time at which a sender would send them.
#pragma once

#include "file/file_source.h"
#include "file/packet_reader.h"
#include "media/timeline.h"
#include "ts/pes.h"
#include "ts/ts_packet.h"

#include <array>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>

namespace velmora {

/// A packet and its time, counted from the packet that reading began with.
struct PacedPacket {
    std::array<std::uint8_t, ts_packet_size> bytes{};
    std::chrono::nanoseconds time{0};
};

/// Places packets evenly between the clock references of the stream (ISO/IEC 13818-1, 2.4.2.2), or between
/// its decoding time stamps where it has none. Not thread-safe.
class PacedPackets {
public:
    explicit PacedPackets(std::shared_ptr<const FileSource> source);

    /// Begins at a packet of the file.
    void begin(std::uint64_t offset);
    /// The next packet; nothing while the file has no more.
    const PacedPacket* front();
    void pop() { timed_.pop_front(); }

private:
    void take(const TsPacket& packet);
    std::optional<StreamTime> reference(const TsPacket& packet) const;
    void place(std::chrono::nanoseconds span);

    PacketReader reader_;
    bool has_clock_{false};            ///< the stream carries PCRs
    std::optional<std::uint16_t> pid_; ///< whose references count
    std::optional<StreamTime> last_;   ///< reference
    std::chrono::nanoseconds placed_to_{0};
    double nanoseconds_per_packet_{0.0}; ///< between the last two references
    std::deque<PacedPacket> timed_;
    std::deque<PacedPacket> untimed_; ///< since the last reference
};

} // namespace velmora
