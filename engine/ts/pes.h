// Packetized elementary stream packets (ISO/IEC 13818-1, 2.4.3.6).
#pragma once

#include "ts/ts_packet.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace velmora {

/// A 33-bit time stamp as it stands in the stream, unit 1/90000 s.
struct StreamTime {
    std::int64_t ticks{0};

    bool operator==(const StreamTime&) const = default;
};

/// The header of a PES packet.
struct PesHeader {
    std::uint8_t stream_id{0};
    std::size_t declared_size{0}; ///< bytes behind the packet length field; 0 = unbounded
    std::size_t size{0};          ///< of the header up to the payload, bytes
    std::optional<StreamTime> pts;
    std::optional<StreamTime> dts; ///< equals pts where the stream gives pts only
};

/// @param bytes the beginning of a PES packet
/// @return nothing when these bytes are no PES header or too few
std::optional<PesHeader> parse_pes_header(std::span<const std::uint8_t> bytes);

/// A whole PES packet.
struct PesPacket {
    std::uint16_t pid{0};
    std::uint64_t offset{0};   ///< of its first transport packet, bytes
    bool discontinuity{false}; ///< packets went missing in front of it or in it
    PesHeader header;
    std::vector<std::uint8_t> bytes; ///< header and payload

    std::span<const std::uint8_t> payload() const {
        return std::span<const std::uint8_t>{bytes}.subspan(header.size);
    }
};

/// Puts the PES packets of one PID together.
class PesAssembler {
public:
    /// More than any access unit of a level that we decode; what exceeds it is cut off.
    static constexpr std::size_t max_size = std::size_t{16} << 20U;

    /// @param packet the next packet of the PID
    /// @param continuity_broken packets are missing in front of it
    /// @return the PES packet that this transport packet completes, if any
    std::optional<PesPacket> feed(const TsPacket& packet, bool continuity_broken);
    /// Hands out what is there at the end of the stream.
    std::optional<PesPacket> finish();
    /// What has come of the payload of the packet in progress; valid until the next call.
    std::span<const std::uint8_t> payload_in_progress() const;
    /// Drops the packet in progress, before a jump in the stream.
    void restart();
    /// Takes stuffing for the end of a PES packet of unknown length, instead of waiting for the next one:
    /// most muxers stuff nowhere else. Where one does, this ends with the first mistake.
    void hand_out_early() { is_early_ = true; }
    /// For video, whose packets may be longer than their length can tell: some muxers write what remains of
    /// it then. Such a packet ends as one of unknown length does.
    void doubt_lengths() { doubts_lengths_ = true; }

private:
    std::optional<PesPacket> go_on(const TsPacket& packet, bool continuity_broken);
    void note_end_missed(bool continuity_broken);
    std::optional<PesPacket> take();
    std::optional<PesPacket> take_if_complete(const TsPacket& last);
    std::optional<PesPacket> take_by_length(std::size_t end, const TsPacket& last);

    /// How the end of a PES packet was recognised.
    enum class End { next, length, stuffing };

    std::optional<PesPacket> current_;
    bool has_gap_{false};            ///< packets are missing within the present one
    bool exceeds_its_length_{false}; ///< the present one
    bool broken_{false};
    bool is_early_{false};
    bool doubts_lengths_{false};
    bool lengths_overflow_{false}; ///< one has been longer than its length
    End last_end_{End::next};      ///< of the one that was handed out last
};

} // namespace velmora
