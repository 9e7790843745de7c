/*
 * One player playing one stream, and opening another.
 */
#ifndef BENCH_PLAYERS_MEASUREMENT_H
#define BENCH_PLAYERS_MEASUREMENT_H

#include "players/player.h"

#include <map>
#include <string>
#include <vector>

/** What is measured, in the order of the report. */
enum class Quantity { first_picture, opening, processor_time, peak_memory, pictures_shown };

/** Values by quantity; what could not be measured is absent. */
using Measurement = std::map<Quantity, double>;

/** Plays `stream` from the player's start to its end, then opens `next` in the running player. */
Measurement measure(const PlayerFactory& make_player, const Framebuffer& framebuffer, Desktop& desktop,
                    const Stream& stream, const Stream& next);

#endif
