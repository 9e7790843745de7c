#include "diagnostics/log.h"

#include <array>
#include <chrono>
#include <cstdarg>
#include <map>
#include <mutex>
#include <string>
#include <unistd.h>

extern "C" {
#include <libavutil/log.h>
}

namespace velmora {

namespace {

using Clock = std::chrono::steady_clock;
constexpr auto quiet_time = std::chrono::seconds{1};

struct Kind {
    Clock::time_point last_line;
    unsigned long held_back{0};
};

class Limiter {
public:
    /// The line to write now, empty when this kind had one within the last second.
    std::string line(std::string_view component, std::string_view kind, std::string_view message) {
        std::string key{component};
        key.append(1, '/').append(kind);
        const auto now = Clock::now();
        const std::lock_guard lock{mutex_};
        const auto [entry, is_new] = kinds_.try_emplace(std::move(key), Kind{now, 0});
        if (!is_new && now - entry->second.last_line < quiet_time) {
            ++entry->second.held_back;
            return {};
        }
        std::string text{"velmora: "};
        text.append(component).append(": ").append(message);
        if (entry->second.held_back > 0) {
            text.append(" (").append(std::to_string(entry->second.held_back)).append(" more since)");
        }
        text.append(1, '\n');
        entry->second = Kind{now, 0};
        return text;
    }

private:
    std::mutex mutex_;
    std::map<std::string, Kind> kinds_;
};

Limiter& limiter() {
    static Limiter instance;
    return instance;
}

thread_local int silences = 0;

/// The part of FFmpeg that speaks: libavformat is what receives from RTSP servers.
std::string_view component_of(const AVClass* speaker) {
    const std::string_view name = speaker == nullptr ? "" : speaker->class_name;
    const bool is_format = name == "AVFormatContext" || name == "URLContext" || name.ends_with("muxer");
    return is_format ? "network" : "codec";
}

void ffmpeg_message(void* context, int level, const char* format, va_list arguments) {
    if (level > AV_LOG_WARNING || silences > 0) {
        return;
    }
    std::array<char, 400> text{};
    int print_prefix = 0; // it holds an address in memory
    av_log_format_line2(context, level, format, arguments, text.data(), static_cast<int>(text.size()),
                        &print_prefix);
    std::string_view message{text.data()};
    while (!message.empty() && (message.back() == '\n' || message.back() == '\r')) {
        message.remove_suffix(1);
    }
    const AVClass* const av_class = context == nullptr ? nullptr : *static_cast<AVClass**>(context);
    const char* const name = av_class == nullptr ? "FFmpeg" : av_class->item_name(context);
    log_incident(component_of(av_class), name, std::string{name}.append(": ").append(message));
}

} // namespace

void log_incident(std::string_view component, std::string_view kind, std::string_view message) noexcept {
    try {
        const std::string line = limiter().line(component, kind, message);
        if (!line.empty()) {
            // A closed standard error is no reason to stop; nothing else could be told about it.
            [[maybe_unused]] const auto written = ::write(STDERR_FILENO, line.data(), line.size());
        }
    } catch (...) { // NOLINT(bugprone-empty-catch): without memory there is no line
    }
}

FfmpegSilence::FfmpegSilence() {
    ++silences;
}

FfmpegSilence::~FfmpegSilence() {
    --silences;
}

void capture_ffmpeg_messages() noexcept {
    av_log_set_callback(ffmpeg_message);
}

void release_ffmpeg_messages() noexcept {
    av_log_set_callback(av_log_default_callback);
}

} // namespace velmora
