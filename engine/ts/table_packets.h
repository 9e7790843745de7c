// The tables of a stream in packets, to put them in front of a part of it.
#pragma once

#include "ts/programme_tables.h"
#include "ts/psi_section.h"
#include "ts/ts_packet.h"

#include <cstdint>
#include <map>
#include <utility>
#include <vector>

namespace velmora {

/// Keeps the latest PAT and PMTs that came undamaged (ISO/IEC 13818-1, 2.4.4).
class TablePackets {
public:
    void feed(const TsPacket& packet);
    /// Whole packets: the PAT, then the PMTs, each PID's continuity counters ending with the latest one seen;
    /// empty while no PAT was seen.
    std::vector<std::uint8_t> bytes() const;

private:
    using Section = std::vector<std::uint8_t>;
    struct Carrier {
        SectionAssembler assembler;
        std::map<std::pair<std::uint8_t, std::uint16_t>, Section> sections; ///< by table_id and its extension
        std::uint8_t counter{0};                                            ///< latest
    };

    ProgrammeTables tables_;
    std::map<std::uint16_t, Carrier> by_pid_; ///< the PAT's comes first
};

} // namespace velmora
