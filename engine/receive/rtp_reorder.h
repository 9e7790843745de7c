// Puts RTP packets back in order and counts what is missing.
#pragma once

#include "media/timeline.h"
#include "receive/rtp_packet.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

namespace velmora {

/// A packet that is missing is waited for until `window` later ones or `patience` have passed, then counted
/// as lost; what comes later or twice is dropped. A new SSRC or a sequence that goes on elsewhere (RFC 3550,
/// A.1) is a sender that began again, and no loss.
class RtpReorder {
public:
    static constexpr int window = 32; ///< packets
    static constexpr std::chrono::milliseconds patience{100};
    /// Behind a silence of this length old sequence numbers are a new beginning.
    static constexpr std::chrono::seconds silence{1};

    /// Takes the payloads in order.
    using Sink = std::function<void(std::span<const std::uint8_t> payload)>;

    explicit RtpReorder(Sink sink);

    void feed(const RtpPacket& packet, SteadyTime now);
    /// Gives up on what has been waited for long enough.
    void expire(SteadyTime now);
    /// When expire() has something to do; nothing while all is in order.
    std::optional<SteadyTime> deadline() const;
    /// Packets that never came, or too late.
    std::uint64_t lost() const { return lost_; }

private:
    struct Held {
        bool is_used{false};
        SteadyTime arrived;
        std::vector<std::uint8_t> payload;
    };
    struct Suspect {
        std::uint16_t sequence;
        std::vector<std::uint8_t> payload;
    };

    bool follows_suspect(const RtpPacket& packet);
    void begin(std::uint16_t sequence, std::uint32_t ssrc);
    void take(const RtpPacket& packet, SteadyTime now);
    void give_up_one();
    void hand_on_run();
    Held& slot(std::uint16_t sequence) { return held_.at(sequence % held_.size()); }

    Sink sink_;
    bool is_begun_{false};
    std::uint32_t ssrc_{0};
    std::uint16_t expected_{0};
    SteadyTime last_;
    std::array<Held, window> held_{};
    int held_count_{0};
    std::optional<Suspect> suspect_; ///< far from what was expected; its successor decides
    std::uint64_t lost_{0};
};

} // namespace velmora
