// Finds transport stream packets in bytes: 188, 192 and 204 byte packets, junk before and between them.
#pragma once

#include "ts/ts_packet.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>

namespace velmora {

/// How packets lie in a file: 188 bytes bare, 192 with a time code in front, 204 with parity behind.
struct PacketLayout {
    std::size_t stride{ts_packet_size}; ///< distance of two sync bytes, bytes
    std::size_t first_sync{0};          ///< where the first sync byte was found, bytes
};

/// Looks for five sync bytes at an even distance.
/// @param head the beginning of the file
/// @return nothing when these bytes are no transport stream
std::optional<PacketLayout> detect_packet_layout(std::span<const std::uint8_t> head);

/// Cuts consecutive bytes into packets and finds the next packet again where sync is lost.
class PacketCutter {
public:
    using Sink = std::function<void(const TsPacket&)>;
    /// Told of each run of bytes in which no packet was found: where it began and its length.
    using LossSink = std::function<void(std::uint64_t offset, std::uint64_t length)>;

    explicit PacketCutter(std::size_t stride, LossSink on_loss = {});

    /// Cuts as many packets as possible.
    /// @param bytes what follows the bytes consumed so far
    /// @param offset where `bytes` lies in the file
    /// @param is_end no more bytes will follow
    /// @return the number of bytes consumed; the rest must be presented again with more behind it
    std::size_t cut(std::span<const std::uint8_t> bytes, std::uint64_t offset, bool is_end, const Sink& sink);

    /// Forgets a loss in progress, before a jump in the file.
    void restart();

private:
    bool is_packet_start(std::span<const std::uint8_t> bytes, std::size_t at, bool is_end,
                         bool& needs_more) const;
    void end_loss(std::uint64_t offset);

    std::size_t stride_;
    LossSink on_loss_;
    bool in_sync_{true};
    std::optional<std::uint64_t> loss_began_;
};

} // namespace velmora
