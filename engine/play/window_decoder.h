// Decodes a stretch of a file on a thread of its own.
#pragma once

#include "decode/picture_shrinker.h"
#include "file/file_source.h"
#include "file/stream_feed.h"
#include "index/access_point_finder.h"
#include "pacing/time_source.h"
#include "tracks/video_track.h"

#include <atomic>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

namespace velmora {

/// What is to be decoded, and what came of it.
struct DecodedWindow {
    DecodingStart start; ///< from where it can be decoded
    Position from;       ///< pictures from here on
    Position to;         ///< and in front of here
    AVDiscard skip{AVDISCARD_DEFAULT};
    std::size_t expected{0}; ///< pictures, about
    double work{1.0};        ///< pictures to decode, those that are left out or only serve in part as parts
    bool is_urgent{false};   ///< it is due before one thread would have it
    bool is_awaited{false};  ///< the clock waits for it
    PictureSize display;     ///< where they will be shown; nothing: not known

    std::atomic<bool> abandoned{false}; ///< set by who asked: nobody waits any more
    std::atomic<bool> done{false};      ///< set by the decoder: `pictures` is complete
    std::deque<Picture> pictures;       ///< in order of position; the decoder's until `done`
    std::uint64_t decoded{0};           ///< pictures, those that only serve as references too; likewise
    std::uint64_t errors{0};            ///< met on the way; likewise
    SteadyClock::duration took{};       ///< what decoding took; likewise
};

/// Owns a thread, a reader and a decoder; works on one window at a time.
class WindowDecoder {
public:
    /// @param time outlives the decoder
    /// @param on_done called on the decoder's thread after each window
    WindowDecoder(std::shared_ptr<const FileSource> source, TimeSource& time, std::function<void()> on_done);
    ~WindowDecoder() = default;
    WindowDecoder(const WindowDecoder&) = delete;
    WindowDecoder& operator=(const WindowDecoder&) = delete;

    bool is_idle() const { return idle_.load(); }
    /// Only while idle.
    void decode(std::shared_ptr<DecodedWindow> window);

private:
    void run(const std::stop_token& stop);
    std::uint64_t errors() const;
    void work_on(DecodedWindow& window, const std::stop_token& stop);

    TimeSource& time_;
    const std::function<void()> on_done_;
    StreamFeed feed_;          ///< of the thread
    VideoTrack video_;         ///< of the thread
    PictureShrinker shrinker_; ///< of the thread
    std::atomic<bool> idle_{true};
    std::mutex mutex_;
    const std::unique_ptr<WakeSignal> changed_{time_.make_signal()};
    std::shared_ptr<DecodedWindow> job_; ///< protected by mutex_
    Worker thread_;                      ///< last, so that it ends first
};

} // namespace velmora
