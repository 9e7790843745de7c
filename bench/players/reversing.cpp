#include "players/bench.h"
#include "players/picture_watch.h"
#include "players/report.h"

namespace {

using namespace std::chrono_literals;

constexpr int start_second = 30;
constexpr Milliseconds settling = 2500ms;
constexpr Milliseconds forward_before = 3s;
constexpr Milliseconds duration = 10s;

/** @return whether a seek to a second, or to a little in front of it, has arrived */
bool wait_for_second(PictureWatch& watch, const Stream& stream, int second) {
    const std::uint32_t earliest = stream.number_at(second - 1);
    while (const auto sighting = watch.wait_for_change(patience)) {
        if (sighting->number >= earliest) {
            return true;
        }
    }
    return false;
}

/** The first picture that lies before the ones seen since the order. */
std::optional<Sighting> wait_for_turn(PictureWatch& watch, std::uint32_t newest) {
    while (const auto sighting = watch.wait_for_change(patience)) {
        if (sighting->number < newest) {
            return sighting;
        }
        newest = sighting->number;
    }
    return std::nullopt;
}

void measure(const Bench& bench, TrickPlayer& player, const Stream& stream, Samples& samples) {
    player.play();
    PictureWatch watch(bench.framebuffer, bench.desktop, stream);
    watch.watch_for(settling);
    player.seek(start_second);
    if (!wait_for_second(watch, stream, start_second)) {
        return;
    }
    const auto before = watch.watch_for(forward_before);
    if (before.empty()) {
        return;
    }
    const auto order = player.turn_round();
    const auto first = wait_for_turn(watch, before.back().number);
    if (!first) {
        return;
    }
    samples[Quantity::turn_round].push_back(Milliseconds(first->when - order).count());
    const Milliseconds spent_before = player.process().processor_time();
    auto seen = watch.watch_for(duration);
    const Milliseconds spent = player.process().processor_time() - spent_before;
    samples[Quantity::processor_time_per_picture].push_back(spent.count() / distinct_pictures(seen));
    seen.insert(seen.begin(), *first);
    const double seconds = time_between_ends(seen) / Milliseconds(1s);
    samples[Quantity::pictures_per_second].push_back((distinct_pictures(seen) - 1) / seconds);
    samples[Quantity::longest_gap].push_back(longest_gap(seen).count());
    samples[Quantity::peak_memory].push_back(player.process().peak_memory());
}

const std::vector<Row>& rows() {
    using enum Goal::Kind;
    static const std::vector<Row> all = {
        {Quantity::turn_round, "first picture after turning round, ms", "%.0f", {ratio_at_most, 0.3}},
        {Quantity::pictures_per_second, "pictures per second, of 25", "%.1f", {at_least, 24.5}},
        {Quantity::longest_gap, "longest gap, ms", "%.0f", {ratio_at_most, 0.25}},
        {Quantity::processor_time_per_picture,
         "processor time per picture, ms",
         "%.1f",
         {ratio_at_most, 0.7}},
        {Quantity::peak_memory, "peak memory, MiB", "%.0f", {ratio_at_most, 1.0}},
    };
    return all;
}

} // namespace

void compare_reversing(const Bench& bench) {
    for (const int gop : {50, 250}) {
        const Stream stream = make_numbered_stream(minute_for_review(gop));
        const auto columns = measure_in_turns(
            bench, bench.trick_players, [&](const TrickPlayerFactory& factory, Samples& samples) {
                measure(bench, *factory(stream, usual_racing_speed), stream, samples);
            });
        print_report("backward, 1080p25 H.264, 8 Mbit/s, a key picture every " + std::to_string(gop), rows(),
                     columns);
    }
}
