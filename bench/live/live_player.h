/*
 * The players under comparison, showing what comes to a port.
 */
#ifndef BENCH_LIVE_LIVE_PLAYER_H
#define BENCH_LIVE_LIVE_PLAYER_H

#include "players/child_process.h"
#include "players/desktop.h"
#include "players/numbered_stream.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/** Longer than any player takes from its start to its first picture. */
inline constexpr Milliseconds longest_start = std::chrono::seconds(20);

/** What a player is to receive. */
struct LiveSource {
    Stream shown;
    std::uint16_t port = 0;
    bool is_low_delay = false; /* a stream without delay of its own: everything for an early picture */
};

/** When a player was told to receive. */
struct Joining {
    Clock::time_point start;                      /* from which the time to the first picture counts */
    std::optional<Clock::time_point> in_window{}; /* the order in the running player */
};

class LivePlayer {
public:
    LivePlayer() = default;
    virtual ~LivePlayer() = default;
    LivePlayer(const LivePlayer&) = delete;
    LivePlayer& operator=(const LivePlayer&) = delete;

    virtual const ChildProcess& process() const = 0;
    virtual Joining join() = 0;
};

/** Makes a player that is to receive. */
using LivePlayerFactory = std::function<std::unique_ptr<LivePlayer>(const LiveSource&)>;
using LivePlayers = std::vector<std::pair<std::string, LivePlayerFactory>>;

/** Ours from the directory that holds it and its engine, mpv and ffplay. */
LivePlayers live_players(Desktop& desktop, const std::filesystem::path& programs,
                         const std::filesystem::path& scratch);

#endif
