/*
 * A stream as it is sent: its bytes, when they leave, and which picture ends where.
 */
#ifndef BENCH_LIVE_LIVE_STREAM_H
#define BENCH_LIVE_LIVE_STREAM_H

#include "live/coded_pictures.h"
#include "players/child_process.h"
#include "players/numbered_stream.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

/** What is sent: a short stream again and again, muxed at a constant rate with time stamps that go on. */
struct LiveRecipe {
    StreamRecipe once;
    std::string mux_rate; /* as ffmpeg writes it */
};

/** 1080p25 with B-frames and sound, a key picture every two seconds. */
LiveRecipe live_full_hd(int megabits);
/** 720p25 for little delay: no B-frames, pictures of about the same size, no sound. */
LiveRecipe live_low_delay();

/** The stream in a file, which goes away with the object. */
class LiveFile {
public:
    /** @param scratch room for the file */
    LiveFile(const LiveRecipe& recipe, int seconds, const std::filesystem::path& scratch);

    /** The short stream: its numbers are what is on the screen. */
    const Stream& shown() const { return m_shown; }
    const std::filesystem::path& path() const { return m_repeated.stream().file; }

private:
    Stream m_shown;
    RepeatedStream m_repeated;
};

std::vector<std::uint8_t> read_file(const std::filesystem::path& file);

class LiveStream {
public:
    LiveStream(const LiveRecipe& recipe, int seconds, const std::filesystem::path& scratch)
        : LiveStream(LiveFile(recipe, seconds, scratch)) {}
    explicit LiveStream(const LiveFile& file);

    /** The short stream: its numbers are what is on the screen. */
    const Stream& shown() const { return m_shown; }
    const std::vector<std::uint8_t>& bytes() const { return m_bytes; }
    /** In the order of the stream. */
    const std::vector<CodedPicture>& pictures() const { return m_pictures; }
    const CodedPicture& second_key_picture() const;
    /** The first packet that leaves at most so long before a picture begins, bytes. */
    std::size_t before(const CodedPicture& picture, Milliseconds distance) const;
    /** From a picture's last packet to its showing, as early as the time stamps allow without a gap; median.
     */
    Milliseconds least_even_delay() const;

private:
    std::chrono::nanoseconds departure(std::size_t byte) const;

    Stream m_shown;
    std::vector<std::uint8_t> m_bytes;
    std::vector<CodedPicture> m_pictures;
    std::vector<std::chrono::nanoseconds> m_schedule; /* by packet */
};

#endif
