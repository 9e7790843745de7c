/*
 * A stream whose pictures carry numbers, and the size it is shown at.
 */
#ifndef BENCH_PLAYERS_NUMBERED_STREAM_H
#define BENCH_PLAYERS_NUMBERED_STREAM_H

#include "support/stream_maker.h"

#include <cstdint>
#include <filesystem>
#include <string>

struct Stream {
    std::filesystem::path file;
    std::uint32_t first = 0; /* number of the first picture */
    std::uint32_t count = 0; /* pictures; one that is repeated has the same numbers again */
    int fps = 0;             /* pictures per second */
    int gop = 0;             /* pictures from one key picture to the next */
    int width = 0;           /* on the screen, pixels */
    int height = 0;          /* on the screen, pixels */
    double first_time = 0;   /* time stamp of the first picture, seconds */

    /** Length of one repetition, whole seconds. */
    int seconds() const { return static_cast<int>(count) / fps; }
    /** Number of the picture that stands at a second. */
    std::uint32_t number_at(int second) const { return first + static_cast<std::uint32_t>(second * fps); }
};

/** 1080p25 with B-frames and sound, as the comparisons use it. */
StreamRecipe full_hd(const std::string& codec, const std::string& bitrate, int gop, int seconds);

/**
 * A minute of 1080p25 for trick play. Its first group is half a second long, so that whole seconds lie in the
 * middle of groups as often as anywhere else.
 */
StreamRecipe minute_for_review(int gop);

/** Makes the stream, or takes it from the cache; its pictures are numbered from `first`. */
Stream make_numbered_stream(StreamRecipe recipe, int first = 0);

/** A stream repeated in one file, with time stamps that go on; the file goes away with the object. */
class RepeatedStream {
public:
    /**
     * @param directory room for the file
     * @param mux_options for ffmpeg
     */
    RepeatedStream(const Stream& stream, int times, const std::filesystem::path& directory,
                   const std::string& mux_options = {});
    ~RepeatedStream();
    RepeatedStream(const RepeatedStream&) = delete;
    RepeatedStream& operator=(const RepeatedStream&) = delete;

    const Stream& stream() const { return m_stream; }

private:
    Stream m_stream;
};

#endif
