// The packets that carry the tables of a stream, to put them in front of a part of it.
#pragma once

#include "ts/programme_tables.h"
#include "ts/ts_packet.h"

#include <cstdint>
#include <map>
#include <vector>

namespace velmora {

/// Keeps the latest whole PAT and PMTs as the packets that they came in (ISO/IEC 13818-1, 2.4.4).
class TablePackets {
public:
    void feed(const TsPacket& packet);
    /// Whole packets: the PAT, then the PMTs; empty while no PAT was seen.
    std::vector<std::uint8_t> bytes() const;

private:
    struct Table {
        std::vector<std::uint8_t> whole;
        std::vector<std::uint8_t> in_progress;
        std::size_t missing{0}; ///< payload bytes of the section in progress
    };

    ProgrammeTables tables_;
    std::map<std::uint16_t, Table> by_pid_; ///< the PAT's comes first
};

} // namespace velmora
