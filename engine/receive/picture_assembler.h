// Puts the parts of a picture together.
#pragma once

#include "media/av_handles.h"

namespace velmora {

/// What comes out of RTP are parts of pictures. Those of one picture carry the same time, unless the sender
/// has told meanwhile what its time is (RFC 3550, 6.4.1): then the rest of the picture carries another one.
class PictureAssembler {
public:
    explicit PictureAssembler(AVCodecID codec) : codec_{codec} {}

    /// Takes what the packet holds.
    /// @return the picture that ended with the packet before, if one did
    AvPacket feed(const AVPacket& part);

private:
    bool goes_on_with(const AVPacket& part) const;

    AVCodecID codec_;
    AvPacket picture_;
};

} // namespace velmora
