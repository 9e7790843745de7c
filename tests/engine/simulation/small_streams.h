// The streams that simulations play: small, so that a minute of them is decoded in a second.
#pragma once

#include "pacing/time_source.h"
#include "support/stream_maker.h"

#include <chrono>

namespace velmora::test {

/// Numbered pictures of H.264, 25 per second: I B B P B B P, key pictures two seconds apart.
inline StreamRecipe small_stream(int seconds) {
    StreamRecipe recipe;
    recipe.width = 320;
    recipe.height = 180;
    recipe.gop = 50;
    recipe.bitrate = "300k";
    recipe.duration = seconds;
    recipe.video_options = "-b_strategy 0 -b-pyramid none"; // always as many B pictures, to which none refers
    return recipe;
}

/// What decoding a picture costs.
inline auto each_picture_costs(std::chrono::microseconds cost) {
    return [cost](const DecodingWork& work) {
        return work.is_skipped ? TimeSource::Seconds{0} : TimeSource::Seconds{cost};
    };
}

} // namespace velmora::test
