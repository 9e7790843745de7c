/*
 * The players under comparison, each driven in its own way.
 */
#ifndef BENCH_PLAYERS_PLAYER_H
#define BENCH_PLAYERS_PLAYER_H

#include "players/child_process.h"
#include "players/desktop.h"
#include "players/numbered_stream.h"

#include <functional>
#include <memory>
#include <optional>

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

/** A player that goes other ways than straight on. Each order returns its moment. */
class TrickPlayer : public Player {
public:
    virtual Clock::time_point pause() = 0;
    /** Asks for the first picture at or behind that second of the stream. */
    virtual Clock::time_point seek(int second) = 0;
    /** Plays backward from the present picture. */
    virtual Clock::time_point turn_round() = 0;
    /** Plays on at the racing speed that was given at the start. */
    virtual Clock::time_point race() = 0;
};

/** Times the normal speed; of our player 2 to 5, or the 16 of its Fast button. */
inline constexpr int usual_racing_speed = 16;

/** Makes a player that is to play a stream. */
using PlayerFactory = std::function<std::unique_ptr<Player>(const Stream&)>;
using TrickPlayerFactory = std::function<std::unique_ptr<TrickPlayer>(const Stream&, int racing_speed)>;

/** The player of this project, from the directory that holds it and its engine. */
std::unique_ptr<TrickPlayer> make_zandor(Desktop& desktop, const Stream& stream,
                                         const std::filesystem::path& programs,
                                         const std::filesystem::path& scratch, int racing_speed);
std::unique_ptr<TrickPlayer> make_mpv(const Stream& stream, const std::filesystem::path& scratch,
                                      int racing_speed);
std::unique_ptr<Player> make_ffplay(const Stream& stream);

#endif
