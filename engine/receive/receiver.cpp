#include "receive/receiver.h"

#include "receive/rtsp_receiver.h"
#include "receive/udp_receiver.h"

#include <utility>

namespace velmora {

std::unique_ptr<Receiver> receive(const ReceiverSetup& setup, TimeSource& time, BlockSink sink) {
    if (is_rtsp(setup.transport)) {
        return std::make_unique<RtspReceiver>(setup, time, std::move(sink));
    }
    return std::make_unique<UdpReceiver>(setup, time, std::move(sink));
}

} // namespace velmora
