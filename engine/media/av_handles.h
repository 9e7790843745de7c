// Owners of FFmpeg objects: each frees what it holds, copying is impossible.
#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/frame.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

#include <memory>
#include <new>

namespace velmora {

template <auto free_function>
struct AvDeleter {
    template <class Object>
    void operator()(Object* object) const noexcept {
        if constexpr (requires { free_function(&object); }) {
            free_function(&object);
        } else {
            free_function(object);
        }
    }
};

using AvFrame = std::unique_ptr<AVFrame, AvDeleter<av_frame_free>>;
using AvPacket = std::unique_ptr<AVPacket, AvDeleter<av_packet_free>>;
using CodecContext = std::unique_ptr<AVCodecContext, AvDeleter<avcodec_free_context>>;
using CodecParser = std::unique_ptr<AVCodecParserContext, AvDeleter<av_parser_close>>;
using Scaler = std::unique_ptr<SwsContext, AvDeleter<sws_freeContext>>;
using Resampler = std::unique_ptr<SwrContext, AvDeleter<swr_free>>;

/// Throws std::bad_alloc when out of memory, as every make_ function here.
inline AvFrame make_frame() {
    AvFrame frame{av_frame_alloc()};
    if (!frame) {
        throw std::bad_alloc{};
    }
    return frame;
}

inline AvPacket make_packet() {
    AvPacket packet{av_packet_alloc()};
    if (!packet) {
        throw std::bad_alloc{};
    }
    return packet;
}

} // namespace velmora
