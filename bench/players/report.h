/*
 * Medians of the measurements, their ratios to a peer and the goals.
 */
#ifndef BENCH_PLAYERS_REPORT_H
#define BENCH_PLAYERS_REPORT_H

#include "players/samples.h"

#include <span>
#include <string>

/** What our own value is to be, by itself or as a ratio to the peer's. */
struct Goal {
    enum class Kind { none, ratio_at_most, at_least, at_most };

    Kind kind = Kind::none;
    double bound = 0;
};

/** Median with least and largest value, or one number alone. */
enum class Statistic { median, ninety_fifth, mean };

struct Row {
    Quantity quantity;
    std::string name;
    const char* format; /* of a value, for printf */
    Goal goal{};
    Statistic statistic = Statistic::median;
};

/** Prints a table; the first column is ours, the second, if any, the peer of the ratios. */
void print_report(const std::string& title, std::span<const Row> rows, std::span<const Column> columns);

#endif
