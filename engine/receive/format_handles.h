// Owners of libavformat's objects.
#pragma once

#include "media/av_handles.h"

extern "C" {
#include <libavformat/avformat.h>
}

#include <array>
#include <cstdint>
#include <memory>
#include <string>

namespace velmora {

using InputFormat = std::unique_ptr<AVFormatContext, AvDeleter<avformat_close_input>>;
using OutputFormat = std::unique_ptr<AVFormatContext, AvDeleter<avformat_free_context>>;

struct IoDeleter {
    void operator()(AVIOContext* io) const noexcept {
        av_freep(&io->buffer);
        avio_context_free(&io);
    }
};
using IoContext = std::unique_ptr<AVIOContext, IoDeleter>;

/// Options by name, as libavformat takes them.
class FormatOptions {
public:
    FormatOptions() = default;
    ~FormatOptions() { av_dict_free(&options_); }
    FormatOptions(const FormatOptions&) = delete;
    FormatOptions& operator=(const FormatOptions&) = delete;

    void set(const char* name, const std::string& value) { av_dict_set(&options_, name, value.c_str(), 0); }
    void set(const char* name, std::int64_t value) { av_dict_set_int(&options_, name, value, 0); }
    /// What was not understood is left in it.
    AVDictionary** get() { return &options_; }

private:
    AVDictionary* options_{nullptr};
};

/// What an error code of FFmpeg's means.
inline std::string error_text(int code) {
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    av_strerror(code, text.data(), text.size());
    return text.data();
}

} // namespace velmora
