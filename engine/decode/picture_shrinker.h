// Keeps pictures no larger than they will be shown.
#pragma once

#include "decode/picture_scaler.h"
#include "media/picture.h"
#include "media/picture_size.h"

namespace velmora {

/// For pictures that are held in numbers. Not thread-safe.
class PictureShrinker {
public:
    /// @param display where the picture will be shown; without a size it stays as it is
    void shrink(Picture& picture, PictureSize display);

private:
    PictureScaler scaler_;
};

} // namespace velmora
