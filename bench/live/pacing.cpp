#include "live/datagram_times.h"
#include "live/file_senders.h"
#include "live/live_stream.h"
#include "players/bench.h"
#include "players/report.h"
#include "support/pcr_schedule.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <span>

namespace {

using namespace std::chrono_literals;

constexpr std::size_t packet_size = 188;
constexpr int measured_seconds = 15;

/** How late the datagrams are against PCR time, give or take their median. */
std::vector<double> lateness(const TimedDatagrams& datagrams) {
    const auto schedule = pcr_schedule(datagrams.bytes);
    std::vector<double> late;
    late.reserve(datagrams.arrivals.size());
    for (const auto& arrival : datagrams.arrivals) {
        late.push_back(Milliseconds(arrival.when - schedule[arrival.begin / packet_size]).count());
    }
    auto sorted = late;
    std::ranges::sort(sorted);
    for (double& one : late) {
        one -= sorted[sorted.size() / 2];
    }
    return late;
}

double mean(std::span<const double> values) {
    return std::accumulate(values.begin(), values.end(), 0.0) / static_cast<double>(values.size());
}

/** Slope of the line closest to all the points, which single late ones do not turn. */
double trend(std::span<const double> times, std::span<const double> values) {
    const double middle = mean(times);
    const double usual = mean(values);
    double products = 0;
    double squares = 0;
    for (std::size_t i = 0; i < times.size(); ++i) {
        products += (times[i] - middle) * (values[i] - usual);
        squares += (times[i] - middle) * (times[i] - middle);
    }
    return products / squares;
}

void note_pacing(const TimedDatagrams& datagrams, Samples& samples) {
    if (datagrams.arrivals.empty()) {
        return;
    }
    std::vector<double> times;
    times.reserve(datagrams.arrivals.size());
    for (const auto& arrival : datagrams.arrivals) {
        times.push_back(Milliseconds(arrival.when - datagrams.arrivals.front().when).count());
    }
    const auto late = lateness(datagrams);
    for (const double one : late) {
        samples[Quantity::pacing_error].push_back(std::abs(one));
    }
    samples[Quantity::rate_error].push_back(std::abs(trend(times, late)) * 100);
}

void measure(const FileSenderFactory& factory, const std::filesystem::path& file, Samples& samples) {
    constexpr Milliseconds settling = 2s;
    const DatagramTimes port;
    const auto sender = factory(file, port.port());
    port.collect(settling);
    const Milliseconds before = sender->processor_time();
    const auto datagrams = port.collect(1s * measured_seconds);
    const Milliseconds spent = sender->processor_time() - before;
    samples[Quantity::processor_share].push_back(spent / Milliseconds(1s * measured_seconds) * 100);
    note_pacing(datagrams, samples);
}

const std::vector<Row>& rows() {
    using enum Goal::Kind;
    using enum Statistic;
    static const std::vector<Row> all = {
        {Quantity::pacing_error, "off PCR time, ms", "%.2f", {at_most, 1.5}},
        {Quantity::pacing_error, "  95 %", "%.2f", {at_most, 5}, ninety_fifth},
        {Quantity::rate_error, "rate off in the long run, %", "%.4f", {at_most, 0.1}},
        {Quantity::processor_share, "processor time of sending, % of a core", "%.1f", {at_most, 5}},
    };
    return all;
}

} // namespace

void compare_pacing(const Bench& bench) {
    const LiveFile file(live_full_hd(40), measured_seconds + 5, bench.scratch);
    std::vector<Column> columns;
    for (const auto& [name, factory] : file_senders()) {
        columns.push_back({.player = name, .samples = {}});
        measure(factory, file.path(), columns.back().samples);
    }
    print_report("streaming a file out, 40 Mbit/s", rows(), columns);
}
