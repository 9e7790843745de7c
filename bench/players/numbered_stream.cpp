#include "players/numbered_stream.h"

#include "support/stream_probe.h"

#include <cstdlib>
#include <fstream>
#include <stdexcept>

StreamRecipe full_hd(const std::string& codec, const std::string& bitrate, int gop, int seconds) {
    return {.codec = codec,
            .width = 1920,
            .height = 1080,
            .fps = 25,
            .gop = gop,
            .bframes = 3,
            .bitrate = bitrate,
            .duration = seconds,
            .audio = "mp2"};
}

StreamRecipe minute_for_review(int gop) {
    StreamRecipe recipe = full_hd("h264", "8M", gop, 60);
    recipe.video_options = "-force_key_frames 0.52";
    return recipe;
}

Stream make_numbered_stream(StreamRecipe recipe, int first) {
    recipe.first = first;
    constexpr int shown_width = 720;
    const auto file = make_stream(recipe);
    if (file.empty()) {
        throw std::runtime_error("a stream could not be made");
    }
    return {.file = file,
            .first = static_cast<std::uint32_t>(first),
            .count = static_cast<std::uint32_t>(recipe.fps * recipe.duration),
            .fps = recipe.fps,
            .gop = recipe.gop,
            .width = shown_width,
            .height = shown_width * recipe.height / recipe.width,
            .first_time = ProbedStream(file, "v:0").number("start_time")};
}

RepeatedStream::RepeatedStream(const Stream& stream, int times, const std::filesystem::path& directory,
                               const std::string& mux_options)
    : m_stream(stream) {
    m_stream.file = directory / "repeated.ts";
    const auto size = std::filesystem::file_size(stream.file) * static_cast<std::uintmax_t>(times);
    if (std::filesystem::space(directory).available < size * 5 / 4) {
        throw std::runtime_error("no room for a file of " + std::to_string(size >> 20U) + " MiB in " +
                                 directory.string());
    }
    const auto list = directory / "repeated.txt";
    std::ofstream lines(list);
    for (int i = 0; i < times; ++i) {
        lines << "file '" << stream.file.string() << "'\nduration " << stream.seconds() << "\n";
    }
    lines.close();
    const std::string command = "ffmpeg -nostdin -loglevel error -y -f concat -safe 0 -i '" + list.string() +
                                "' -c copy " + mux_options + " '" + m_stream.file.string() + "'";
    // NOLINTNEXTLINE(cert-env33-c): the command is this file's own
    if (std::system(command.c_str()) != 0) {
        throw std::runtime_error("a large file could not be made");
    }
}

RepeatedStream::~RepeatedStream() {
    std::error_code ignored;
    std::filesystem::remove(m_stream.file, ignored);
}
