// Transport streams with a data PID.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <vector>

/// How data travels (MISB ST 1402).
enum class DataCarriage {
    synchronous,  ///< stream type 0x15: cells with headers, two units in one PES packet and one unit in two
    asynchronous, ///< stream type 0x06 with the KLVA registration
    plain,        ///< stream type 0x06 without it
    as_metadata,  ///< stream type 0x06 with the KLVA registration, but the stream_id of cells
    single_cells, ///< stream type 0x15: one cell in each PES packet
    without_cells ///< stream type 0x15, but no cell headers
};

void PrintTo(DataCarriage carriage, std::ostream* out);

struct DataStream {
    std::vector<std::uint8_t> stream;             ///< with the data in it
    std::vector<std::vector<std::uint8_t>> units; ///< what was put in
};

/// Puts a unit of data behind each picture of a stream: its PMT is extended, packets are inserted.
/// @param stream packets of 188 bytes with one programme, as ffmpeg makes them
DataStream with_data(const std::vector<std::uint8_t>& stream, DataCarriage carriage);
