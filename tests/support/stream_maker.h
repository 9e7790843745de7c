/*
 * Transport streams for tests, made on demand.
 */
#ifndef TESTS_SUPPORT_STREAM_MAKER_H
#define TESTS_SUPPORT_STREAM_MAKER_H

#include <filesystem>
#include <iosfwd>
#include <string>

/** What a stream consists of; its pictures carry their number as a block pattern. */
struct StreamRecipe {
    std::string codec = "h264"; /* h264, hevc, mpeg2 or none */
    int width = 640;            /* pixels */
    int height = 360;           /* pixels */
    int fps = 25;
    int gop = 25; /* pictures per group, all closed */
    int bframes = 2;
    std::string bitrate = "1M"; /* of the video, as ffmpeg writes it */
    bool interlaced = false;
    int duration = 5;            /* seconds */
    int first = 0;               /* number of the first picture */
    std::string audio = "none";  /* aac, mp2, mp3, ac3, eac3, opus or none */
    int tone = 1000;             /* pitch of the sound, Hz */
    double start = 0;            /* time stamp of the start, seconds on top of the muxer's own 1.4 */
    int packet = 188;            /* bytes per packet: 188 or 192 */
    std::string video_options{}; /* more options for the encoder, as ffmpeg takes them */
    std::string mux_options{};   /* more options for the muxer */
};

/** As in "h264_640x360". */
void PrintTo(const StreamRecipe& recipe, std::ostream* out);

/** Path of a stream made by the recipe, from the cache when it was made before; empty when ffmpeg fails. */
std::filesystem::path make_stream(const StreamRecipe& recipe);

#endif
