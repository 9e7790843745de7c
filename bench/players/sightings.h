/*
 * What came to the screen, and what it tells.
 */
#ifndef BENCH_PLAYERS_SIGHTINGS_H
#define BENCH_PLAYERS_SIGHTINGS_H

#include "players/child_process.h"

#include <cstdint>
#include <vector>

/** A picture that came to the screen. */
struct Sighting {
    std::uint32_t number = 0;
    Clock::time_point when;
};

/** Pictures, each counted once. */
double distinct_pictures(const std::vector<Sighting>& seen);

/** The longest time that a picture stood still between the first and the last one. */
Milliseconds longest_gap(const std::vector<Sighting>& seen);

/** Time from the first picture to the last one. */
Milliseconds time_between_ends(const std::vector<Sighting>& seen);

#endif
