#include "receive/receiver.h"

#include "receive/rtsp_receiver.h"
#include "receive/udp_receiver.h"

namespace velmora {

std::unique_ptr<Receiver> receive(const ReceiverSetup& setup, TimeSource& time, BlockSink sink) {
    switch (setup.protocol) {
    case Protocol_PRIVATE:
    case Protocol_UDPTS:
    case Protocol_RTPUDP:
    case Protocol_Split:
        return std::make_unique<UdpReceiver>(setup, time, std::move(sink));
    case Protocol_RTSPUDP:
    case Protocol_RTSPTCP:
        return std::make_unique<RtspReceiver>(setup, time, std::move(sink));
    default:
        throw ReceptionError("protocol " + std::to_string(setup.protocol) + " is none that can be received");
    }
}

} // namespace velmora
