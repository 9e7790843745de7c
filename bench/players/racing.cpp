#include "players/bench.h"
#include "players/picture_watch.h"
#include "players/report.h"

#include <algorithm>

namespace {

using namespace std::chrono_literals;

constexpr Milliseconds settling = 2500ms;

/** How long there is something to see, away from the ends of the stream. */
Milliseconds duration(int speed) {
    constexpr Milliseconds longest = 8s;
    constexpr Milliseconds usable = 52s; // of the stream
    return std::min(longest, usable / speed);
}

void measure(const Bench& bench, TrickPlayer& player, const Stream& stream, int speed, Samples& samples) {
    constexpr Milliseconds changing = 300ms;
    player.play();
    PictureWatch watch(bench.framebuffer, bench.desktop, stream);
    watch.watch_for(settling);
    player.race();
    watch.watch_for(changing);
    const auto start = Clock::now();
    const Milliseconds before = player.process().processor_time();
    const auto seen = watch.watch_for(duration(speed));
    const Milliseconds spent = player.process().processor_time() - before;
    const double seconds = Milliseconds(Clock::now() - start) / Milliseconds(1s);
    if (seen.size() < 2) {
        return;
    }
    const double shown_seconds = time_between_ends(seen) / Milliseconds(1s);
    const double moved = static_cast<double>(seen.back().number) - static_cast<double>(seen.front().number);
    samples[Quantity::pictures_per_second].push_back((distinct_pictures(seen) - 1) / shown_seconds);
    samples[Quantity::longest_gap].push_back(longest_gap(seen).count());
    samples[Quantity::processor_time_per_second].push_back(spent.count() / seconds);
    samples[Quantity::pace].push_back(moved / stream.fps / shown_seconds);
}

std::vector<Row> rows(int speed) {
    using enum Goal::Kind;
    const bool is_compared = speed == 4 || speed == 5;
    const bool is_fast = speed == usual_racing_speed;
    const Goal gap = is_compared ? Goal{ratio_at_most, 0.5} : Goal{};
    const Goal processor_time = is_compared ? Goal{ratio_at_most, 0.8} : Goal{};
    const Goal rate = is_fast ? Goal{} : Goal{at_least, 22.5};
    return {
        {Quantity::pictures_per_second, "pictures per second", "%.1f", rate},
        {Quantity::longest_gap, "longest gap, ms", "%.0f", gap},
        {Quantity::processor_time_per_second, "processor time per second, ms", "%.0f", processor_time},
        {Quantity::pace, "advances by, seconds per second", "%.2f"},
    };
}

} // namespace

void compare_racing(const Bench& bench) {
    const Stream stream = make_numbered_stream(minute_for_review(50));
    for (const int speed : {2, 3, 4, 5, usual_racing_speed}) {
        const auto columns = measure_in_turns(
            bench, bench.trick_players, [&](const TrickPlayerFactory& factory, Samples& samples) {
                measure(bench, *factory(stream, speed), stream, speed, samples);
            });
        print_report(std::to_string(speed) +
                         " times as fast, 1080p25 H.264, 8 Mbit/s, a key picture every 50",
                     rows(speed), columns);
    }
}
