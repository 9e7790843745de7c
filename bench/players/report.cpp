#include "players/report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <numeric>

namespace {

constexpr double not_measured = std::numeric_limits<double>::quiet_NaN();

std::vector<double> sorted_values(const Column& column, Quantity quantity) {
    const auto found = column.samples.find(quantity);
    std::vector<double> values = found == column.samples.end() ? std::vector<double>{} : found->second;
    std::ranges::sort(values);
    return values;
}

double median(const std::vector<double>& sorted) {
    const std::size_t middle = sorted.size() / 2;
    return sorted.size() % 2 == 1 ? sorted[middle] : (sorted[middle - 1] + sorted[middle]) / 2;
}

double summary(const std::vector<double>& sorted, Statistic statistic) {
    if (sorted.empty()) {
        return not_measured;
    }
    const auto count = static_cast<double>(sorted.size());
    switch (statistic) {
    case Statistic::ninety_fifth:
        return sorted[static_cast<std::size_t>(std::ceil(count * 0.95)) - 1];
    case Statistic::mean:
        return std::accumulate(sorted.begin(), sorted.end(), 0.0) / count;
    case Statistic::median:
        break;
    }
    return median(sorted);
}

std::string number(const char* format, double value) {
    if (std::isnan(value)) {
        return "-";
    }
    char text[32];
    std::snprintf(text, sizeof(text), format, value);
    return text;
}

std::string cell(const Row& row, const std::vector<double>& sorted) {
    std::string value = number(row.format, summary(sorted, row.statistic));
    if (sorted.empty() || row.statistic != Statistic::median) {
        return value;
    }
    return value + " (" + number(row.format, sorted.front()) + ".." + number(row.format, sorted.back()) + ")";
}

std::string verdict(const Goal& goal, double own, double ratio) {
    std::string text;
    double value = own;
    bool met = false;
    switch (goal.kind) {
    case Goal::Kind::none:
        return "";
    case Goal::Kind::ratio_at_most:
        text = "ratio <= " + number("%.2f", goal.bound);
        value = ratio;
        met = ratio <= goal.bound;
        break;
    case Goal::Kind::at_least:
        text = ">= " + number("%.4g", goal.bound);
        met = own >= goal.bound;
        break;
    case Goal::Kind::at_most:
        text = "<= " + number("%.4g", goal.bound);
        met = own <= goal.bound;
        break;
    }
    return std::isnan(value) ? text + ": not measured" : text + (met ? ": met" : ": MISSED");
}

} // namespace

void print_report(const std::string& title, std::span<const Row> rows, std::span<const Column> columns) {
    std::printf("\n%s\n%-40s", title.c_str(), "");
    for (const Column& column : columns) {
        std::printf("%-24s", column.player.c_str());
    }
    const bool has_peer = columns.size() > 1;
    const std::string heading = has_peer ? columns[0].player + "/" + columns[1].player : "";
    std::printf("%-16s%s\n", heading.c_str(), "goal");
    for (const Row& row : rows) {
        std::printf("%-40s", row.name.c_str());
        std::vector<double> values;
        for (const Column& column : columns) {
            const auto sorted = sorted_values(column, row.quantity);
            values.push_back(summary(sorted, row.statistic));
            std::printf("%-24s", cell(row, sorted).c_str());
        }
        const double ratio = has_peer ? values[0] / values[1] : not_measured;
        std::printf("%-16s%s\n", number("%.2f", ratio).c_str(), verdict(row.goal, values[0], ratio).c_str());
    }
    std::fflush(stdout);
}
