#include "ts/data_units.h"

#include <algorithm>
#include <cstddef>

namespace velmora {

namespace {

constexpr std::size_t cell_header_size = 5;
/// More than any unit that makes sense; what exceeds it is left out.
constexpr std::size_t largest_unit = std::size_t{16} << 20U;

/// cell_fragment_indication of a cell that begins a unit, and of one that ends it.
constexpr unsigned first_cell = 0b10;
constexpr unsigned last_cell = 0b01;

std::size_t told_size(std::span<const std::uint8_t> cell) {
    return static_cast<std::size_t>((cell[3] << 8U) | cell[4]);
}

/// Whether the cells that begin here end where the payload does.
bool consists_of_cells(std::span<const std::uint8_t> payload) {
    while (payload.size() >= cell_header_size && told_size(payload) <= payload.size() - cell_header_size) {
        payload = payload.subspan(cell_header_size + told_size(payload));
    }
    return payload.empty();
}

} // namespace

DataCarriage data_carriage(const ElementaryStream& stream) {
    constexpr std::uint8_t metadata_in_pes = 0x15;
    return stream.type == metadata_in_pes ? DataCarriage::cells : DataCarriage::bare;
}

void DataUnits::feed(const PesPacket& pes, DataCarriage carriage, const Sink& sink) {
    const auto payload = pes.payload();
    if (payload.empty()) {
        return;
    }
    in_progress_ = in_progress_ && !pes.discontinuity;
    if (carriage == DataCarriage::cells && consists_of_cells(payload)) {
        had_cells_ = true;
        take_cells(payload, sink);
        return;
    }
    in_progress_ = false;
    const bool is_cut_cell = carriage == DataCarriage::cells && had_cells_ && pes.discontinuity;
    if (!is_cut_cell) {
        sink(payload);
    }
}

void DataUnits::take_cells(std::span<const std::uint8_t> cells, const Sink& sink) {
    while (!cells.empty()) {
        const unsigned fragment = cells[2] >> 6U;
        const auto data = cells.subspan(cell_header_size, told_size(cells));
        cells = cells.subspan(cell_header_size + data.size());
        if ((fragment & first_cell) != 0) {
            fragments_.clear();
            in_progress_ = true;
        }
        if (!in_progress_ || fragments_.size() + data.size() > largest_unit) {
            in_progress_ = false;
            continue;
        }
        fragments_.insert(fragments_.end(), data.begin(), data.end());
        if ((fragment & last_cell) != 0) {
            in_progress_ = false;
            sink(fragments_);
        }
    }
}

} // namespace velmora
