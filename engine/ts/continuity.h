// Counts packets that went missing (ISO/IEC 13818-1, 2.4.3.3, continuity_counter).
#pragma once

#include "ts/ts_packet.h"

#include <array>
#include <cstdint>

namespace velmora {

enum class Continuity {
    in_order,
    duplicate,
    broken,
    announced ///< broken, as the stream itself announced: no loss
};

/// Watches the continuity counter of every PID.
class ContinuityWatch {
public:
    ContinuityWatch() { restart(); }

    Continuity check(const TsPacket& packet) {
        if (packet.pid == null_packet_pid) {
            return Continuity::in_order;
        }
        std::uint8_t& last = last_[packet.pid];
        const bool was_repeated = last != unknown && (last & repeated) != 0;
        const std::uint8_t before = last == unknown ? unknown : last & counter_mask;
        last = packet.continuity_counter;
        if (before == unknown) {
            return Continuity::in_order;
        }
        if (packet.discontinuity) {
            // With a packet of its own whatever follows is something else; otherwise perhaps the time alone
            // is.
            const bool goes_on = packet.has_payload && packet.continuity_counter == ((before + 1U) & 0x0FU);
            return goes_on ? Continuity::in_order : Continuity::announced;
        }
        if (!packet.has_payload) {
            // The counter stands still for packets without payload.
            return packet.continuity_counter == before ? Continuity::in_order : Continuity::broken;
        }
        if (packet.continuity_counter == before) {
            // A packet may be sent twice, not more often: then the counter does not count at all.
            last |= repeated;
            return was_repeated ? Continuity::broken : Continuity::duplicate;
        }
        return packet.continuity_counter == ((before + 1U) & 0x0FU) ? Continuity::in_order
                                                                    : Continuity::broken;
    }

    /// Forgets all counters, before a jump in the stream.
    void restart() { last_.fill(unknown); }

private:
    static constexpr std::uint8_t unknown = 0xFF;
    static constexpr std::uint8_t repeated = 0x10;
    static constexpr std::uint8_t counter_mask = 0x0F;
    std::array<std::uint8_t, 8192> last_{};
};

} // namespace velmora
