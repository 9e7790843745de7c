// Sends received packets on to another address.
#pragma once

#include "media/file_descriptor.h"
#include "media/packet_block.h"
#include "receive/receiver.h"

#include <cstdint>
#include <netinet/in.h>

namespace velmora {

/// Sends over UDP, seven packets a datagram at most. What the network does not take at once is left out with
/// a line: nobody waits for a receiver, and one that is not there does no harm.
class Retransmitter {
public:
    /// @param address IPv4 in host byte order, of a host or a group
    /// @throws ReceptionError when no socket can be opened
    Retransmitter(std::uint32_t address, std::uint16_t port);

    /// Sends all of the block before it returns. From one thread at a time; never waits.
    void send(const PacketBlock& block) const;

private:
    FileDescriptor socket_;
    sockaddr_in target_{};
};

} // namespace velmora
