// Which programmes a transport stream carries and of which elementary streams they consist (PAT and PMTs).
#pragma once

#include "ts/elementary_stream.h"
#include "ts/psi_section.h"
#include "ts/ts_packet.h"

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <vector>

namespace velmora {

/// One programme as its PMT describes it.
struct Programme {
    std::uint16_t number{0};
    std::uint16_t pcr_pid{null_packet_pid};
    std::vector<ElementaryStream> streams; ///< in the order of the PMT

    bool operator==(const Programme&) const = default;
};

/// Follows PAT and PMTs of a stream. Tables count as changed when their content does: two recordings joined
/// into one file often carry the same version number.
class ProgrammeTables {
public:
    /// @return true when a programme came, changed or went
    bool feed(const TsPacket& packet);
    /// Programmes in the order of the PAT, as far as their PMT is known.
    std::vector<Programme> programmes() const;
    /// Every programme of the PAT has shown its PMT.
    bool complete() const;
    /// The PAT names this programme, but its PMT was not seen yet.
    bool awaits(std::uint16_t number) const;
    /// The PAT or a PMT is sent on this PID.
    bool carries_tables(std::uint16_t pid) const;
    /// Drops sections in progress, before a jump in the stream; what is known stays.
    void restart();

private:
    struct Entry {
        std::uint16_t number{0};
        std::uint16_t pmt_pid{0};
        std::optional<Programme> programme;
    };

    bool read_pat(std::span<const std::uint8_t> section);
    bool read_pmt(std::span<const std::uint8_t> section, std::uint16_t pid);

    SectionAssembler pat_sections_;
    std::map<std::uint16_t, SectionAssembler> pmt_sections_; ///< by PMT PID
    std::vector<Entry> entries_;
};

} // namespace velmora
