// One line on standard error per incident, for the developer at the other end of a bug report.
#pragma once

#include <string_view>

namespace velmora {

/// Writes "velmora: <component>: <message>" and a line feed to standard error in one write.
/// At most one line per component and kind and second; what is held back is counted and told with the next
/// line of its kind. Any thread; never throws.
/// @param component subsystem, such as "file" or "audio"
/// @param kind stable name of the incident, the unit of rate limiting
/// @param message what happened, where, and what was done instead
void log_incident(std::string_view component, std::string_view kind, std::string_view message) noexcept;

/// Sends the messages of FFmpeg's libraries through log_incident (warnings and worse). Process-wide,
/// idempotent.
void capture_ffmpeg_messages() noexcept;
/// While it lives FFmpeg says nothing on this thread: the caller reports what went wrong by what it returns.
class FfmpegSilence {
public:
    FfmpegSilence();
    ~FfmpegSilence();
    FfmpegSilence(const FfmpegSilence&) = delete;
    FfmpegSilence& operator=(const FfmpegSilence&) = delete;
};

/// Lets FFmpeg write its messages itself again, before this code is unloaded.
void release_ffmpeg_messages() noexcept;

} // namespace velmora
