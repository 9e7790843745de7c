/*
 * Compares this project's player with others on the display of DISPLAY, interleaved.
 *
 *     player_bench PROGRAMS FRAMEBUFFER_DIRECTORY SCRATCH_DIRECTORY PART ROUNDS SECONDS
 *
 * PROGRAMS holds zandor_player and libvelmora.so. PART is one of the parts or of their groups.
 */
#include "players/bench.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <span>
#include <stdexcept>
#include <string_view>

namespace {

struct Part {
    std::vector<std::string_view> names; /* by which it is asked for */
    void (*compare)(const Bench& bench);
};

const std::vector<Part>& parts() {
    static const std::vector<Part> all = {
        {{"play"}, compare_playing},
        {{"seek", "trick"}, compare_seeking},
        {{"reverse", "trick"}, compare_reversing},
        {{"race", "trick"}, compare_racing},
        {{"open", "trick"}, compare_opening},
        {{"zap", "live"}, compare_zapping},
        {{"latency", "loss", "live"}, compare_watching},
        {{"recording", "live"}, compare_recording},
        {{"pacing", "live"}, compare_pacing},
        {{"engine", "live"}, measure_engine},
    };
    return all;
}

void compare(std::span<char*> arguments) {
    const std::filesystem::path programs = arguments[1];
    const Framebuffer framebuffer(arguments[2]);
    const std::filesystem::path scratch = arguments[3];
    Desktop desktop;
    const Bench bench{
        .framebuffer = framebuffer,
        .desktop = desktop,
        .scratch = scratch,
        .rounds = std::atoi(arguments[5]),
        .seconds = std::atoi(arguments[6]),
        .part = arguments[4],
        .trick_players = {{"zandor",
                           [&](const Stream& stream, int racing_speed) {
                               return make_zandor(desktop, stream, programs, scratch, racing_speed);
                           }},
                          {"mpv", [&](const Stream& stream,
                                      int racing_speed) { return make_mpv(stream, scratch, racing_speed); }}},
        .plain_players = {{"ffplay", make_ffplay}},
        .live_players = live_players(desktop, programs, scratch),
    };
    bool is_known = false;
    for (const Part& part : parts()) {
        if (std::ranges::count(part.names, bench.part) > 0) {
            is_known = true;
            part.compare(bench);
        }
    }
    if (!is_known) {
        throw std::runtime_error("there is no part " + bench.part);
    }
}

} // namespace

int main(int argc, char** argv) {
    const std::span arguments(argv, static_cast<std::size_t>(argc));
    if (arguments.size() != 7) {
        std::fputs(
            "usage: player_bench PROGRAMS FRAMEBUFFER_DIRECTORY SCRATCH_DIRECTORY PART ROUNDS SECONDS\n",
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
