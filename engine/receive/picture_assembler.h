// Puts the parts of a picture together.
#pragma once

#include "media/av_handles.h"

namespace velmora {

/// What comes out of RTP are parts of pictures. Those of one picture carry the same time.
class PictureAssembler {
public:
    /// Takes what the packet holds.
    /// @return the picture that ended with the packet before, if one did
    AvPacket feed(const AVPacket& part);

private:
    AvPacket picture_;
};

} // namespace velmora
