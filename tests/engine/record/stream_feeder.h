// A recorded stream, fed as it would arrive.
#pragma once

#include "media/packet_block.h"
#include "record/recorder.h"
#include "support/stream_maker.h"
#include "table/scratch_files.h"

#include <algorithm>
#include <memory>

namespace velmora::test {

/// Ten seconds of small pictures and sound.
inline StreamRecipe ten_seconds() {
    StreamRecipe recipe;
    recipe.width = 320;
    recipe.height = 240;
    recipe.duration = 10;
    recipe.gop = 25;
    recipe.audio = "mp2";
    return recipe;
}

inline SharedBlock block_of(const Bytes& stream, std::size_t at, std::size_t size) {
    const auto begin = stream.begin() + static_cast<std::ptrdiff_t>(at);
    return std::make_shared<const PacketBlock>(
        PacketBlock{{begin, begin + static_cast<std::ptrdiff_t>(size)}, SteadyClock::now()});
}

/// Feeds the part of a stream that lies between these bytes in blocks of seven packets.
inline void feed(Recorder& recorder, const Bytes& stream, std::size_t begin, std::size_t end) {
    constexpr std::size_t datagram = std::size_t{7} * 188;
    for (std::size_t at = begin; at < end; at += datagram) {
        recorder.feed(block_of(stream, at, std::min(datagram, end - at)));
    }
}

inline void feed(Recorder& recorder, const Bytes& stream) {
    feed(recorder, stream, 0, stream.size());
}

} // namespace velmora::test
