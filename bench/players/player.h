/*
 * The players under comparison, each driven in its own way.
 */
#ifndef BENCH_PLAYERS_PLAYER_H
#define BENCH_PLAYERS_PLAYER_H

#include "players/child_process.h"
#include "players/desktop.h"
#include "players/picture_watch.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class Player {
public:
    Player() = default;
    virtual ~Player() = default;
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;

    virtual const ChildProcess& process() const = 0;
    /**
     * Gets the stream given at the start going; returns the moment from which the time to the first picture
     * counts.
     */
    virtual Clock::time_point play() = 0;
    /** Opens another stream in the running player; returns the moment of the order, nothing if it cannot. */
    virtual std::optional<Clock::time_point> open(const Stream& stream) = 0;
};

/** Makes a player that is to play a stream. */
using PlayerFactory = std::function<std::unique_ptr<Player>(Desktop&, const Stream&)>;

/** The player of this project, from the directory that holds it and its engine. */
std::unique_ptr<Player> make_zandor(Desktop& desktop, const Stream& stream,
                                    const std::filesystem::path& programs,
                                    const std::filesystem::path& scratch);
std::unique_ptr<Player> make_mpv(const Stream& stream, const std::filesystem::path& scratch);
std::unique_ptr<Player> make_ffplay(const Stream& stream);

#endif
