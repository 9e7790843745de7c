#include "support/data_stream.h"

#include "support/mpeg_crc.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <ostream>
#include <span>
#include <string>

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t packet_size = 188;
constexpr std::size_t header_size = 4;
constexpr std::uint16_t pmt_pid = 0x1000;
constexpr std::uint16_t video_pid = 0x100;
constexpr std::uint16_t data_pid = 0x1F0;

std::uint16_t pid_of(std::span<const std::uint8_t> packet) {
    return static_cast<std::uint16_t>(((packet[1] & 0x1FU) << 8U) | packet[2]);
}

bool begins_unit(std::span<const std::uint8_t> packet) {
    return (packet[1] & 0x40U) != 0;
}

Bytes table_entry(DataCarriage carriage) {
    const bool is_registered =
        carriage == DataCarriage::asynchronous || carriage == DataCarriage::as_metadata;
    const bool is_private = is_registered || carriage == DataCarriage::plain;
    Bytes entry{static_cast<std::uint8_t>(is_private ? 0x06 : 0x15),
                static_cast<std::uint8_t>(0xE0U | (data_pid >> 8U)), data_pid & 0xFFU, 0xF0, 0};
    if (is_registered) {
        const std::array<std::uint8_t, 6> registration{0x05, 0x04, 'K', 'L', 'V', 'A'};
        entry.back() = registration.size();
        entry.insert(entry.end(), registration.begin(), registration.end());
    }
    return entry;
}

/// The PMT's packet with the data stream in it.
Bytes extended_table(std::span<const std::uint8_t> packet, DataCarriage carriage) {
    Bytes bytes(packet.begin(), packet.end());
    const std::size_t section = header_size + 1 + bytes[header_size];
    const std::size_t length =
        static_cast<std::size_t>((bytes[section + 1] & 0x0FU) << 8U) | bytes[section + 2];
    const Bytes entry = table_entry(carriage);
    const auto end_of_entries = static_cast<std::ptrdiff_t>(section + 3 + length - 4);
    bytes.insert(bytes.begin() + end_of_entries, entry.begin(), entry.end());
    bytes.resize(packet_size);
    const std::size_t extended = length + entry.size();
    bytes[section + 1] = static_cast<std::uint8_t>((bytes[section + 1] & 0xF0U) | (extended >> 8U));
    bytes[section + 2] = static_cast<std::uint8_t>(extended & 0xFFU);
    put_mpeg_crc(std::span{bytes}.subspan(section, 3 + extended));
    return bytes;
}

/// A cell of synchronous metadata.
/// @param fragment cell_fragment_indication
Bytes cell(std::span<const std::uint8_t> data, unsigned fragment) {
    constexpr std::size_t cell_header_size = 5;
    Bytes bytes(cell_header_size + data.size());
    bytes[2] = static_cast<std::uint8_t>(fragment << 6U);
    bytes[3] = static_cast<std::uint8_t>(data.size() >> 8U);
    bytes[4] = static_cast<std::uint8_t>(data.size() & 0xFFU);
    std::ranges::copy(data, bytes.begin() + cell_header_size);
    return bytes;
}

/// Puts PES packets of the data PID into transport packets.
class DataMuxer {
public:
    explicit DataMuxer(Bytes& stream) : stream_{stream} {}

    void put(std::uint8_t stream_id, const Bytes& payload) {
        const std::size_t size = 3 + payload.size();
        Bytes pes{0,
                  0,
                  1,
                  stream_id,
                  static_cast<std::uint8_t>(size >> 8U),
                  static_cast<std::uint8_t>(size & 0xFFU),
                  0x84,
                  0,
                  0};
        pes.insert(pes.end(), payload.begin(), payload.end());
        for (std::size_t at = 0; at < pes.size();) {
            const std::size_t count = std::min(packet_size - header_size, pes.size() - at);
            const std::size_t stuffing = packet_size - header_size - count;
            Bytes packet{0x47, static_cast<std::uint8_t>((at == 0 ? 0x40U : 0U) | (data_pid >> 8U)),
                         data_pid & 0xFFU,
                         static_cast<std::uint8_t>((stuffing > 0 ? 0x30U : 0x10U) | (counter_++ & 0x0FU))};
            if (stuffing > 0) {
                packet.push_back(static_cast<std::uint8_t>(stuffing - 1));
                if (stuffing > 1) {
                    packet.push_back(0);
                    packet.resize(header_size + stuffing, 0xFF);
                }
            }
            packet.insert(packet.end(), pes.begin() + static_cast<std::ptrdiff_t>(at),
                          pes.begin() + static_cast<std::ptrdiff_t>(at + count));
            stream_.insert(stream_.end(), packet.begin(), packet.end());
            at += count;
        }
    }

private:
    Bytes& stream_;
    unsigned counter_{0};
};

Bytes joined(Bytes front, const Bytes& back) {
    front.insert(front.end(), back.begin(), back.end());
    return front;
}

/// A unit that tells its number and has a length of its own.
Bytes unit(std::size_t number) {
    Bytes bytes(20 + number * 37 % 400, static_cast<std::uint8_t>(number));
    const std::string name = "unit " + std::to_string(number) + '\n';
    std::copy(name.begin(), name.end(), bytes.begin());
    return bytes;
}

void put_units(DataMuxer& muxer, DataStream& made, DataCarriage carriage) {
    constexpr unsigned whole = 3;
    constexpr unsigned first = 2;
    constexpr unsigned last = 1;
    constexpr std::uint8_t private_stream = 0xBD;
    constexpr std::uint8_t metadata_stream = 0xFC;
    const Bytes one = unit(made.units.size());
    made.units.push_back(one);
    switch (carriage) {
    case DataCarriage::asynchronous:
    case DataCarriage::plain:
        muxer.put(private_stream, one);
        return;
    case DataCarriage::as_metadata:
    case DataCarriage::without_cells:
        muxer.put(metadata_stream, one);
        return;
    case DataCarriage::single_cells:
        muxer.put(metadata_stream, cell(one, whole));
        return;
    case DataCarriage::synchronous:
        break;
    }
    const Bytes other = unit(made.units.size());
    made.units.push_back(other);
    const auto half = static_cast<std::ptrdiff_t>(other.size() / 2);
    muxer.put(metadata_stream,
              joined(cell(one, whole), cell(std::span{other}.first(other.size() / 2), first)));
    muxer.put(metadata_stream, cell(std::span{other.begin() + half, other.end()}, last));
}

} // namespace

void PrintTo(DataCarriage carriage, std::ostream* out) {
    switch (carriage) {
    case DataCarriage::synchronous:
        *out << "Synchronous";
        break;
    case DataCarriage::asynchronous:
        *out << "Asynchronous";
        break;
    case DataCarriage::plain:
        *out << "Plain";
        break;
    case DataCarriage::as_metadata:
        *out << "AsMetadata";
        break;
    case DataCarriage::single_cells:
        *out << "SingleCells";
        break;
    case DataCarriage::without_cells:
        *out << "WithoutCells";
        break;
    }
}

DataStream with_data(const std::vector<std::uint8_t>& stream, DataCarriage carriage) {
    DataStream made;
    DataMuxer muxer{made.stream};
    for (std::size_t at = 0; at + packet_size <= stream.size(); at += packet_size) {
        const auto packet = std::span{stream}.subspan(at, packet_size);
        if (pid_of(packet) == pmt_pid && begins_unit(packet)) {
            const Bytes table = extended_table(packet, carriage);
            made.stream.insert(made.stream.end(), table.begin(), table.end());
            continue;
        }
        if (pid_of(packet) == video_pid && begins_unit(packet) && at > 10 * packet_size) {
            put_units(muxer, made, carriage);
        }
        made.stream.insert(made.stream.end(), packet.begin(), packet.end());
    }
    return made;
}
