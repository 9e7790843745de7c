// Transport packets that can be told from each other.
#pragma once

#include "ts/packet_builder.h"

namespace velmora::test {

/// `count` packets of PID 0x100 in continuous order, each with its number from `first` on in its payload.
inline Bytes numbered_packets(int count, int first = 0) {
    Bytes stream;
    for (int number = first; number < first + count; ++number) {
        Bytes payload(ts_packet_size - 4, 0x33);
        for (unsigned i = 0; i < 4; ++i) {
            payload[i] = static_cast<std::uint8_t>(number >> (24U - 8U * i));
        }
        const Bytes bytes = packet(0x100, static_cast<unsigned>(number), false, payload);
        stream.insert(stream.end(), bytes.begin(), bytes.end());
    }
    return stream;
}

inline Bytes operator+(Bytes left, const Bytes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

} // namespace velmora::test
