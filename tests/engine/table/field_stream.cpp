#include "field_stream.h"

#include "support/block_pattern.h"
#include "support/mpeg_crc.h"

#include <algorithm>
#include <array>
#include <span>

namespace {

constexpr int width = 320;
constexpr int height = 256;
constexpr int block = 16;
constexpr std::uint8_t grey = 128;
constexpr int pictures_per_group = 25;
constexpr std::uint64_t picture_ticks = 3600; // of 1/90000 s
constexpr std::uint64_t first_stamp = 90000;

constexpr std::uint8_t slice_unit = 0x61;
constexpr std::uint8_t key_slice_unit = 0x65;
constexpr std::uint8_t sequence_unit = 0x67;
constexpr std::uint8_t picture_unit = 0x68;
constexpr std::uint8_t delimiter_unit = 0x09;

class BitWriter {
public:
    void bits(std::uint32_t value, int count) {
        while (count-- > 0) {
            if (m_free == 0) {
                m_bytes.push_back(0);
                m_free = 8;
            }
            m_bytes.back() |= static_cast<std::uint8_t>((value >> static_cast<unsigned>(count) & 1U)
                                                        << static_cast<unsigned>(--m_free));
        }
    }
    /// Exponential-Golomb code.
    void code(std::uint32_t value) {
        int length = 0;
        while ((value + 1) >> static_cast<unsigned>(length + 1) != 0) {
            ++length;
        }
        bits(0, length);
        bits(value + 1, length + 1);
    }
    void align() { m_free = 0; }
    void end() {
        bits(1, 1);
        align();
    }
    const Bytes& bytes() const { return m_bytes; }

private:
    Bytes m_bytes;
    int m_free{0}; ///< bits of the last byte
};

/// Appends a unit with its start code, escaping what would look like one.
void append_unit(Bytes& stream, std::uint8_t header, const Bytes& content) {
    const std::array<std::uint8_t, 5> start{0, 0, 0, 1, header};
    stream.insert(stream.end(), start.begin(), start.end());
    int zeros = 0;
    for (const std::uint8_t byte : content) {
        if (zeros >= 2 && byte <= 3) {
            stream.push_back(3);
            zeros = 0;
        }
        stream.push_back(byte);
        zeros = byte == 0 ? zeros + 1 : 0;
    }
}

Bytes sequence_parameters() {
    BitWriter out;
    out.bits(77, 8); // Main profile
    out.bits(0, 8);
    out.bits(40, 8); // level 4
    out.code(0);
    out.code(4); // frame numbers of 8 bits
    out.code(2); // shown in the order of decoding
    out.code(1); // reference frames
    out.bits(0, 1);
    out.code(width / block - 1);
    out.code(height / block / 2 - 1);
    out.bits(0, 1); // not only frames
    out.bits(0, 1);
    out.bits(1, 1);
    out.bits(0, 2);
    out.end();
    return out.bytes();
}

Bytes picture_parameters() {
    BitWriter out;
    out.code(0);
    out.code(0);
    out.bits(0, 2);
    out.code(0);
    out.code(0);
    out.code(0);
    out.bits(0, 3);
    out.code(0);
    out.code(0);
    out.code(0);
    out.bits(0b100, 3); // slices say whether they are filtered
    out.end();
    return out.bytes();
}

using Luma = std::array<std::uint8_t, static_cast<std::size_t>(width) * height>;

/// All blocks of a field as plain samples.
Bytes field_slice(const Luma& luma, int frame_number, bool is_bottom, bool is_key) {
    BitWriter out;
    out.code(0);
    out.code(7); // only blocks without references
    out.code(0);
    out.bits(static_cast<std::uint32_t>(frame_number), 8);
    out.bits(1, 1); // a field
    out.bits(is_bottom ? 1 : 0, 1);
    if (is_key) {
        out.code(0);
        out.bits(0, 2);
    } else {
        out.bits(0, 1);
    }
    out.code(0);
    out.code(1); // unfiltered
    for (int top = 0; top < height / 2; top += block) {
        for (int left = 0; left < width; left += block) {
            out.code(25); // plain samples
            out.align();
            for (int y = top; y < top + block; ++y) {
                const int row = (2 * y + (is_bottom ? 1 : 0)) * width + left;
                for (int x = 0; x < block; ++x) {
                    out.bits(luma[static_cast<std::size_t>(row + x)], 8);
                }
            }
            for (int chroma = 0; chroma < block * block / 2; ++chroma) {
                out.bits(grey, 8);
            }
        }
    }
    out.end();
    return out.bytes();
}

class TransportWriter {
public:
    void tables() {
        Bytes map{0x02, 0xB0, 18,   0,    1,    0xC1, 0, 0, 0xE1, 0x00, 0xF0,
                  0,    0x1B, 0xE1, 0x00, 0xF0, 0,    0, 0, 0,    0};
        Bytes programmes{0x00, 0xB0, 13, 0, 1, 0xC1, 0, 0, 0, 1, 0xF0, 0x00, 0, 0, 0, 0};
        section(0x0000, m_programmes_counter, programmes);
        section(0x1000, m_map_counter, map);
    }

    /// One PES packet with the pictures' bytes.
    void unit(std::uint64_t stamp, const Bytes& pictures) {
        Bytes unit{0, 0, 1, 0xE0, 0, 0, 0x84, 0x80, 5};
        const auto byte = [&](unsigned shift, unsigned mask, unsigned marker) {
            unit.push_back(static_cast<std::uint8_t>((stamp >> shift << 1U & mask) | marker));
        };
        byte(30, 0x0E, 0x21);
        unit.push_back(static_cast<std::uint8_t>(stamp >> 22U));
        byte(15, 0xFE, 1);
        unit.push_back(static_cast<std::uint8_t>(stamp >> 7U));
        byte(0, 0xFE, 1);
        unit.insert(unit.end(), pictures.begin(), pictures.end());
        std::span<const std::uint8_t> rest{unit};
        for (bool is_first = true; !rest.empty(); is_first = false) {
            rest = rest.subspan(packet(0x0100, m_video_counter, is_first, rest));
        }
    }

    const Bytes& bytes() const { return m_bytes; }

private:
    void section(unsigned pid, unsigned& counter, Bytes& table) {
        put_mpeg_crc(table);
        Bytes payload{0};
        payload.insert(payload.end(), table.begin(), table.end());
        payload.resize(payload_size, 0xFF);
        packet(pid, counter, true, payload);
    }

    /// @return bytes taken from the payload
    std::size_t packet(unsigned pid, unsigned& counter, bool begins_unit,
                       std::span<const std::uint8_t> payload) {
        const std::size_t taken = std::min(payload.size(), payload_size);
        const std::size_t room = payload_size - taken;
        m_bytes.insert(m_bytes.end(),
                       {0x47, static_cast<std::uint8_t>((begins_unit ? 0x40U : 0U) | pid >> 8U),
                        static_cast<std::uint8_t>(pid & 0xFFU),
                        static_cast<std::uint8_t>((room > 0 ? 0x30U : 0x10U) | counter)});
        counter = (counter + 1) & 0x0FU;
        if (room > 0) {
            m_bytes.push_back(static_cast<std::uint8_t>(room - 1));
            m_bytes.insert(m_bytes.end(), room > 1 ? 1 : 0, 0);
            m_bytes.insert(m_bytes.end(), room > 2 ? room - 2 : 0, 0xFF);
        }
        m_bytes.insert(m_bytes.end(), payload.begin(), payload.begin() + static_cast<std::ptrdiff_t>(taken));
        return taken;
    }

    static constexpr std::size_t payload_size = 184;

    Bytes m_bytes;
    unsigned m_programmes_counter{0};
    unsigned m_map_counter{0};
    unsigned m_video_counter{0};
};

} // namespace

Bytes make_field_stream(int pictures, FieldUnits units) {
    TransportWriter out;
    Luma luma{};
    for (int picture = 0; picture < pictures; ++picture) {
        luma.fill(grey);
        pattern::draw_number(luma.data(), width, height, width, static_cast<std::uint32_t>(picture));
        const int in_group = picture % pictures_per_group;
        Bytes fields;
        if (in_group == 0) {
            out.tables();
        }
        for (const bool is_bottom : {false, true}) {
            append_unit(fields, delimiter_unit, {0x10});
            if (in_group == 0 && !is_bottom) {
                append_unit(fields, sequence_unit, sequence_parameters());
                append_unit(fields, picture_unit, picture_parameters());
            }
            const bool is_key = in_group == 0 && !is_bottom;
            append_unit(fields, is_key ? key_slice_unit : slice_unit,
                        field_slice(luma, in_group, is_bottom, is_key));
            if (is_bottom || units == FieldUnits::one_each) {
                const bool is_second_unit = is_bottom && units == FieldUnits::one_each;
                out.unit(first_stamp + static_cast<std::uint64_t>(picture) * picture_ticks +
                             (is_second_unit ? picture_ticks / 2 : 0),
                         fields);
                fields.clear();
            }
        }
    }
    return out.bytes();
}
