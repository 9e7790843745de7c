/*
 * Medians of the measurements, their ratios to mpv and the goals.
 */
#ifndef BENCH_PLAYERS_REPORT_H
#define BENCH_PLAYERS_REPORT_H

#include "players/measurement.h"

#include <string>
#include <vector>

/** A player's name and its measurements of one stream. */
struct Column {
    std::string player;
    std::vector<Measurement> runs;
};

/** Prints a stream's table; the first column is ours, the second the peer of the ratios. */
void print_report(const std::string& stream_name, std::uint32_t pictures_due,
                  const std::vector<Column>& columns);

#endif
