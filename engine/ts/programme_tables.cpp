#include "ts/programme_tables.h"

#include <algorithm>
#include <cstddef>

namespace velmora {

namespace {

constexpr std::uint16_t pat_pid = 0;
constexpr std::uint8_t pat_table_id = 0x00;
constexpr std::uint8_t pmt_table_id = 0x02;
constexpr std::size_t crc_size = 4;
constexpr std::size_t long_header_size = 8; // table_id to last_section_number

std::uint16_t read_16(std::span<const std::uint8_t> bytes, std::size_t at) {
    return static_cast<std::uint16_t>((bytes[at] << 8U) | bytes[at + 1]);
}

std::uint16_t read_pid(std::span<const std::uint8_t> bytes, std::size_t at) {
    return read_16(bytes, at) & 0x1FFFU;
}

std::size_t read_12(std::span<const std::uint8_t> bytes, std::size_t at) {
    return read_16(bytes, at) & 0x0FFFU;
}

/// The tables say "current" or "next"; a next table is not in force yet.
bool is_current(std::span<const std::uint8_t> section) {
    return (section[5] & 0x01U) != 0;
}

} // namespace

bool ProgrammeTables::feed(const TsPacket& packet) {
    bool changed = false;
    if (packet.pid == pat_pid) {
        pat_sections_.feed(packet, [&](std::span<const std::uint8_t> section) {
            if (section[0] == pat_table_id) {
                changed = read_pat(section) || changed;
            }
        });
        return changed;
    }
    const auto assembler = pmt_sections_.find(packet.pid);
    if (assembler == pmt_sections_.end()) {
        return false;
    }
    assembler->second.feed(packet, [&](std::span<const std::uint8_t> section) {
        if (section[0] == pmt_table_id) {
            changed = read_pmt(section, packet.pid) || changed;
        }
    });
    return changed;
}

bool ProgrammeTables::read_pat(std::span<const std::uint8_t> section) {
    if (section.size() < long_header_size + crc_size || !is_current(section)) {
        return false;
    }
    std::vector<Entry> entries;
    for (std::size_t at = long_header_size; at + 4 + crc_size <= section.size(); at += 4) {
        const std::uint16_t number = read_16(section, at);
        if (number != 0) { // 0 names the network information table
            entries.push_back(Entry{number, read_pid(section, at + 2), std::nullopt});
        }
    }
    const auto same = [](const Entry& a, const Entry& b) {
        return a.number == b.number && a.pmt_pid == b.pmt_pid;
    };
    if (std::ranges::equal(entries, entries_, same)) {
        return false;
    }
    std::map<std::uint16_t, SectionAssembler> assemblers;
    for (Entry& entry : entries) {
        const auto known = std::ranges::find_if(entries_, [&](const Entry& old) { return same(old, entry); });
        if (known != entries_.end()) {
            entry.programme = known->programme;
        }
        assemblers.try_emplace(entry.pmt_pid);
    }
    entries_ = std::move(entries);
    pmt_sections_ = std::move(assemblers);
    return true;
}

bool ProgrammeTables::read_pmt(std::span<const std::uint8_t> section, std::uint16_t pid) {
    constexpr std::size_t fixed_size = long_header_size + 4; // up to program_info_length
    if (section.size() < fixed_size + crc_size || !is_current(section)) {
        return false;
    }
    Programme programme;
    programme.number = read_16(section, 3);
    const auto entry = std::ranges::find_if(entries_, [&](const Entry& candidate) {
        return candidate.number == programme.number && candidate.pmt_pid == pid;
    });
    if (entry == entries_.end()) {
        return false;
    }
    programme.pcr_pid = read_pid(section, 8);
    const std::size_t end = section.size() - crc_size;
    const std::size_t programme_size = std::min(read_12(section, 10), end - fixed_size);
    const std::uint32_t format = registered_format(section.subspan(fixed_size, programme_size));
    std::size_t at = fixed_size + programme_size;
    while (at + 5 <= end) {
        const std::size_t descriptors_size = std::min(read_12(section, at + 3), end - at - 5);
        programme.streams.push_back(describe_elementary_stream(
            section[at], read_pid(section, at + 1), section.subspan(at + 5, descriptors_size), format));
        at += 5 + descriptors_size;
    }
    if (entry->programme == programme) {
        return false;
    }
    entry->programme = std::move(programme);
    return true;
}

std::vector<Programme> ProgrammeTables::programmes() const {
    std::vector<Programme> known;
    for (const Entry& entry : entries_) {
        if (entry.programme) {
            known.push_back(*entry.programme);
        }
    }
    return known;
}

bool ProgrammeTables::complete() const {
    return !entries_.empty() &&
           std::ranges::all_of(entries_, [](const Entry& entry) { return entry.programme.has_value(); });
}

bool ProgrammeTables::awaits(std::uint16_t number) const {
    const auto entry = std::ranges::find(entries_, number, &Entry::number);
    return entry != entries_.end() && !entry->programme;
}

bool ProgrammeTables::carries_tables(std::uint16_t pid) const {
    return pid == pat_pid || pmt_sections_.contains(pid);
}

void ProgrammeTables::restart() {
    pat_sections_.restart();
    for (auto& [pid, assembler] : pmt_sections_) {
        assembler.restart();
    }
}

} // namespace velmora
