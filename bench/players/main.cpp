/*
 * Compares this project's player with mpv and ffplay on the display of DISPLAY, interleaved.
 *
 *     player_bench PROGRAMS FRAMEBUFFER_DIRECTORY SCRATCH_DIRECTORY ROUNDS SECONDS
 *
 * PROGRAMS holds zandor_player and libvelmora.so.
 */
#include "players/framebuffer.h"
#include "players/measurement.h"
#include "players/report.h"
#include "support/stream_maker.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <span>
#include <stdexcept>

namespace {

constexpr int fps = 25;
constexpr int next_first = 1'000'000; // numbers of the stream that is opened in the running player

struct Case {
    const char* name;
    StreamRecipe recipe;
};

std::vector<Case> cases(int seconds) {
    return {
        {"1080p25 H.264, 8 Mbit/s, shown at 720x405",
         {.codec = "h264",
          .width = 1920,
          .height = 1080,
          .fps = fps,
          .gop = 50,
          .bframes = 3,
          .bitrate = "8M",
          .duration = seconds,
          .audio = "mp2"}},
        {"1080p25 HEVC, 5 Mbit/s, shown at 720x405",
         {.codec = "hevc",
          .width = 1920,
          .height = 1080,
          .fps = fps,
          .gop = 50,
          .bframes = 3,
          .bitrate = "5M",
          .duration = seconds,
          .audio = "mp2"}},
        {"576i25 MPEG-2, 6 Mbit/s, shown at 720x576",
         {.codec = "mpeg2",
          .width = 720,
          .height = 576,
          .fps = fps,
          .gop = 12,
          .bframes = 2,
          .bitrate = "6M",
          .interlaced = true,
          .duration = seconds,
          .audio = "mp2"}},
    };
}

Stream prepare(StreamRecipe recipe, int first) {
    recipe.first = first;
    constexpr int shown_width = 720;
    const auto file = make_stream(recipe);
    if (file.empty()) {
        throw std::runtime_error("a stream could not be made");
    }
    return {.file = file,
            .first = static_cast<std::uint32_t>(first),
            .count = static_cast<std::uint32_t>(fps * recipe.duration),
            .width = shown_width,
            .height = shown_width * recipe.height / recipe.width};
}

void compare(std::span<char*> arguments) {
    const std::filesystem::path programs = arguments[1];
    const Framebuffer framebuffer(arguments[2]);
    const std::filesystem::path scratch = arguments[3];
    const int rounds = std::atoi(arguments[4]);
    const int seconds = std::atoi(arguments[5]);
    Desktop desktop;
    const std::vector<std::pair<const char*, PlayerFactory>> players = {
        {"zandor",
         [&](Desktop& on, const Stream& stream) { return make_zandor(on, stream, programs, scratch); }},
        {"mpv", [&](Desktop&, const Stream& stream) { return make_mpv(stream, scratch); }},
        {"ffplay", [](Desktop&, const Stream& stream) { return make_ffplay(stream); }},
    };
    for (const Case& test : cases(seconds)) {
        std::printf("making %s\n", test.name);
        std::fflush(stdout);
        const Stream stream = prepare(test.recipe, 0);
        const Stream next = prepare(test.recipe, next_first);
        std::vector<Column> columns;
        columns.reserve(players.size());
        for (const auto& [name, factory] : players) {
            columns.push_back({.player = name, .runs = {}});
        }
        for (int round = 0; round < rounds; ++round) {
            for (std::size_t i = 0; i < players.size(); ++i) {
                columns[i].runs.push_back(measure(players[i].second, framebuffer, desktop, stream, next));
            }
        }
        print_report(test.name, stream.count, columns);
    }
}

} // namespace

int main(int argc, char** argv) {
    const std::span arguments(argv, static_cast<std::size_t>(argc));
    if (arguments.size() != 6) {
        std::fputs("usage: player_bench PROGRAMS FRAMEBUFFER_DIRECTORY SCRATCH_DIRECTORY ROUNDS SECONDS\n",
                   stderr);
        return 2;
    }
    try {
        compare(arguments);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "player_bench: %s\n", error.what());
        return 1;
    }
    return 0;
}
