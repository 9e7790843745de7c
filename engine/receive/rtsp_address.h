// Where an RTSP stream is.
#pragma once

#include "receive/receiver.h"

#include <cstdint>
#include <string>

namespace velmora {

struct RtspAddress {
    std::string url{};
    std::string host{};      ///< name or number
    std::string shown_url{}; ///< without user and password
};

/// The URL that was given, or one made of server, port and session.
/// @throws ReceptionError when there is no server in it
RtspAddress rtsp_address(const ReceiverSetup& setup);

} // namespace velmora
