// By which matrix a picture's samples are meant.
#pragma once

extern "C" {
#include <libavutil/frame.h>
}

namespace velmora {

/// What the picture announces; BT.709 where it announces nothing that is known and is higher than 576 lines,
/// else BT.601.
AVColorSpace colour_matrix(const AVFrame& frame);

} // namespace velmora
