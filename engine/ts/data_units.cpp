#include "ts/data_units.h"

#include <algorithm>
#include <cstddef>

namespace velmora {

namespace {

constexpr std::uint8_t metadata_stream_id = 0xFC;
constexpr std::size_t cell_header_size = 5;
/// More than any unit that makes sense; what exceeds it is left out.
constexpr std::size_t largest_unit = std::size_t{16} << 20U;

/// cell_fragment_indication of a cell that begins a unit, and of one that ends it.
constexpr unsigned first_cell = 0b10;
constexpr unsigned last_cell = 0b01;

} // namespace

void DataUnits::feed(const PesPacket& pes, const Sink& sink) {
    if (pes.header.stream_id == metadata_stream_id) {
        if (pes.discontinuity) {
            in_progress_ = false;
        }
        take_cells(pes.payload(), sink);
    } else if (!pes.payload().empty()) {
        sink(pes.payload());
    }
}

void DataUnits::take_cells(std::span<const std::uint8_t> cells, const Sink& sink) {
    while (cells.size() >= cell_header_size) {
        const unsigned fragment = cells[2] >> 6U;
        const auto told_size = static_cast<std::size_t>((cells[3] << 8U) | cells[4]);
        cells = cells.subspan(cell_header_size);
        const auto data = cells.first(std::min(told_size, cells.size()));
        cells = cells.subspan(data.size());
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
