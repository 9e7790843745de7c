// How a file is played, and where it is sent meanwhile.
#pragma once

#include "index/index_scanner.h"
#include "out/datagram_sender.h"
#include "play/tempo.h"

#include <string>

namespace velmora {

struct PlaybackSetup {
    std::string latin1_path;
    bool is_path_cut{false}; ///< it did not fit the caller's record
    Tempo tempo;
    bool repeats{false};
    SidecarUse sidecar{SidecarUse::none};
    DatagramTarget target; ///< for sending out; no address: nowhere
};

} // namespace velmora
