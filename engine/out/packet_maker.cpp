#include "out/packet_maker.h"

namespace velmora {

namespace {

MadePacket packet_on(std::uint16_t pid) {
    MadePacket packet;
    packet.fill(0xFF);
    packet[0] = ts_sync_byte;
    packet[1] = static_cast<std::uint8_t>(pid >> 8U);
    packet[2] = static_cast<std::uint8_t>(pid & 0xFFU);
    return packet;
}

} // namespace

MadePacket null_packet() {
    MadePacket packet = packet_on(null_packet_pid);
    packet[3] = 0x10;
    return packet;
}

MadePacket discontinuity_packet(std::uint16_t pid, std::uint8_t next_counter) {
    MadePacket packet = packet_on(pid);
    // A packet without payload does not count.
    packet[3] = static_cast<std::uint8_t>(0x20U | ((next_counter - 1U) & 0x0FU));
    packet[4] = ts_packet_size - 5;
    packet[5] = 0x80;
    return packet;
}

} // namespace velmora
