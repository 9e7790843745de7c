#include "players/report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

namespace {

struct Row {
    Quantity quantity;
    const char* name;
    const char* format;
    double goal; /* as a ratio to the peer: at most, for pictures at least */
};

constexpr Row rows[] = {
    {Quantity::first_picture, "first picture after exec, ms", "%.0f", 0.90},
    {Quantity::opening, "opening in the running player, ms", "%.0f", 0.40},
    {Quantity::processor_time, "processor time per picture, ms", "%.2f", 0.90},
    {Quantity::peak_memory, "peak memory, MiB", "%.0f", 1.0},
    {Quantity::pictures_shown, "pictures shown", "%.0f", 1.0},
};

/** Median, least and largest value of a quantity over the runs; not numbers when there is none. */
struct Summary {
    double median = std::numeric_limits<double>::quiet_NaN();
    double least = median;
    double largest = median;
};

Summary summarise(const Column& column, Quantity quantity) {
    std::vector<double> values;
    for (const Measurement& run : column.runs) {
        if (const auto found = run.find(quantity); found != run.end()) {
            values.push_back(found->second);
        }
    }
    if (values.empty()) {
        return {};
    }
    std::ranges::sort(values);
    const std::size_t middle = values.size() / 2;
    const double median = values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
    return {.median = median, .least = values.front(), .largest = values.back()};
}

std::string number(const char* format, double value) {
    if (std::isnan(value)) {
        return "-";
    }
    char text[32];
    std::snprintf(text, sizeof(text), format, value);
    return text;
}

std::string cell(const char* format, const Summary& summary) {
    if (std::isnan(summary.median)) {
        return "-";
    }
    return number(format, summary.median) + " (" + number(format, summary.least) + ".." +
           number(format, summary.largest) + ")";
}

std::string verdict(const Row& row, double ratio, double own, double due) {
    if (row.quantity == Quantity::pictures_shown) {
        return own >= due ? "all due: met" : "all due: MISSED";
    }
    const std::string goal = "<= " + number("%.2f", row.goal);
    return std::isnan(ratio) ? goal : goal + (ratio <= row.goal ? ": met" : ": MISSED");
}

} // namespace

void print_report(const std::string& stream_name, std::uint32_t pictures_due,
                  const std::vector<Column>& columns) {
    std::printf("\n%s, %u pictures due\n%-36s", stream_name.c_str(), pictures_due, "");
    for (const Column& column : columns) {
        std::printf("%-24s", column.player.c_str());
    }
    std::printf("%-16s%s\n", (columns[0].player + "/" + columns[1].player).c_str(), "goal");
    for (const Row& row : rows) {
        std::printf("%-36s", row.name);
        std::vector<double> medians;
        for (const Column& column : columns) {
            const Summary summary = summarise(column, row.quantity);
            medians.push_back(summary.median);
            std::printf("%-24s", cell(row.format, summary).c_str());
        }
        const double ratio = medians[0] / medians[1];
        std::printf("%-16s%s\n", number("%.2f", ratio).c_str(),
                    verdict(row, ratio, medians[0], pictures_due).c_str());
    }
    std::fflush(stdout);
}
