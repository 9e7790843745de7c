// Keeps what a scaler made of a picture.
#pragma once

#include "media/av_handles.h"
#include "media/picture_size.h"

namespace velmora {

/// A copy that stands for the whole picture: its properties, its matrix even where it only follows from its
/// height, square pixels.
/// @param scaled of PictureScaler, made of `whole` in this size
/// @param spare a picture that nobody needs any more, filled again where it fits
AvFrame scaled_copy(const AVFrame& scaled, PictureSize size, const AVFrame& whole, AvFrame spare = {});

} // namespace velmora
