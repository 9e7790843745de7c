/*
 * Compares this project's player with others on the display of DISPLAY, interleaved.
 *
 *     player_bench PROGRAMS FRAMEBUFFER_DIRECTORY SCRATCH_DIRECTORY PART ROUNDS SECONDS
 *
 * PROGRAMS holds zandor_player and libvelmora.so. PART is one of the parts, "trick" or "all".
 */
#include "players/bench.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <span>
#include <stdexcept>
#include <string_view>

namespace {

struct Part {
    std::string_view name;
    std::string_view group;
    void (*compare)(const Bench& bench);
};

constexpr Part parts[] = {
    {"play", "play", compare_playing},       {"seek", "trick", compare_seeking},
    {"reverse", "trick", compare_reversing}, {"race", "trick", compare_racing},
    {"open", "trick", compare_opening},
};

void compare(std::span<char*> arguments) {
    const std::filesystem::path programs = arguments[1];
    const Framebuffer framebuffer(arguments[2]);
    const std::filesystem::path scratch = arguments[3];
    const std::string_view wanted = arguments[4];
    Desktop desktop;
    const Bench bench{
        .framebuffer = framebuffer,
        .desktop = desktop,
        .scratch = scratch,
        .rounds = std::atoi(arguments[5]),
        .seconds = std::atoi(arguments[6]),
        .trick_players = {{"zandor",
                           [&](const Stream& stream, int racing_speed) {
                               return make_zandor(desktop, stream, programs, scratch, racing_speed);
                           }},
                          {"mpv", [&](const Stream& stream,
                                      int racing_speed) { return make_mpv(stream, scratch, racing_speed); }}},
        .plain_players = {{"ffplay", make_ffplay}},
    };
    bool is_known = false;
    for (const Part& part : parts) {
        if (wanted == part.name || wanted == part.group || wanted == "all") {
            is_known = true;
            part.compare(bench);
        }
    }
    if (!is_known) {
        throw std::runtime_error("there is no part " + std::string(wanted));
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
