// Whether a stream arrives scrambled (transport_scrambling_control, ISO/IEC 13818-1, 2.4.3.3).
#pragma once

#include "ts/ts_packet.h"

#include <cstdint>
#include <map>

namespace velmora {

/// Counts units, whose beginnings are told in the clear, of each PID since it was clear last.
class ScramblingWatch {
public:
    void feed(const TsPacket& packet) {
        if (packet.scrambled) {
            units_[packet.pid] += packet.payload_unit_start ? 1 : 0;
        } else if (!units_.empty() && !packet.payload.empty()) {
            units_.erase(packet.pid);
        }
    }
    bool is_scrambled(std::uint16_t pid) const {
        const auto units = units_.find(pid);
        return units != units_.end() && units->second >= enough_units;
    }
    void restart() { units_.clear(); }

private:
    static constexpr int enough_units = 12; ///< half a second of pictures

    std::map<std::uint16_t, int> units_; ///< by PID
};

} // namespace velmora
