/*
 * The parts of the comparison and what they share.
 */
#ifndef BENCH_PLAYERS_BENCH_H
#define BENCH_PLAYERS_BENCH_H

#include "live/live_player.h"
#include "players/framebuffer.h"
#include "players/player.h"
#include "players/samples.h"

#include <string>
#include <utility>
#include <vector>

struct Bench {
    const Framebuffer& framebuffer;
    Desktop& desktop;
    std::filesystem::path scratch;
    int rounds;
    int seconds;      /* of the streams that are played from end to end, and of watching a live one */
    std::string part; /* as asked for */
    /** Ours first, then the peer of the ratios. */
    std::vector<std::pair<std::string, TrickPlayerFactory>> trick_players;
    /** Players that only play. */
    std::vector<std::pair<std::string, PlayerFactory>> plain_players;
    LivePlayers live_players;
};

inline constexpr Milliseconds patience = std::chrono::seconds(10);

/**
 * Has each player measured in turn, round by round: `measure(factory, samples)` adds to the player's samples
 * and leaves no player running.
 */
template <class Factory, class Measure>
std::vector<Column> measure_in_turns(const Bench& bench,
                                     const std::vector<std::pair<std::string, Factory>>& players,
                                     const Measure& measure) {
    std::vector<Column> columns;
    columns.reserve(players.size());
    for (const auto& [name, factory] : players) {
        columns.push_back({.player = name, .samples = {}});
    }
    for (int round = 0; round < bench.rounds; ++round) {
        for (std::size_t i = 0; i < players.size(); ++i) {
            measure(players[i].second, columns[i].samples);
            bench.desktop.wait_for_windows(0, patience);
        }
    }
    return columns;
}

/** Plays streams from end to end: time to the first picture, opening, processor time, memory, pictures. */
void compare_playing(const Bench& bench);
/** Seeks in pause and while playing: time, exactness, processor time. */
void compare_seeking(const Bench& bench);
/** Turns round and plays backward. */
void compare_reversing(const Bench& bench);
/** Plays forward at two to five times the speed and as fast as it goes. */
void compare_racing(const Bench& bench);
/** Opens a small and a large file. */
void compare_opening(const Bench& bench);
/** Joins a live stream in its middle. */
void compare_zapping(const Bench& bench);
/** Watches live streams: delay, pictures that are missing, processor time. */
void compare_watching(const Bench& bench);
/** Records at rising rates. */
void compare_recording(const Bench& bench);
/** Streams a file out. */
void compare_pacing(const Bench& bench);
/** Joins and watches live streams with the engine alone, up to its callback. */
void measure_engine(const Bench& bench);

#endif
