#include "players/bench.h"
#include "players/picture_watch.h"
#include "players/report.h"

#include <cstdio>

namespace {

constexpr int small_seconds = 40; // about 40 MB
constexpr int times = 100;
constexpr int small_first = 1'000'000; // tells the small file from the large one

std::optional<double> time_to_picture(const Bench& bench, const Stream& stream, Clock::time_point order) {
    PictureWatch watch(bench.framebuffer, bench.desktop, stream);
    const auto first = watch.wait_for_change(patience);
    return first ? std::optional(Milliseconds(first->when - order).count()) : std::nullopt;
}

struct Opening {
    std::optional<double> first_picture; /* after the player's start */
    std::optional<double> next;          /* of another file in the running player */
};

Opening measure(const Bench& bench, Player& player, const Stream& stream, const Stream& next) {
    Opening opening;
    opening.first_picture = time_to_picture(bench, stream, player.play());
    if (const auto order = player.open(next)) {
        opening.next = time_to_picture(bench, next, *order);
    }
    return opening;
}

void note(const std::optional<double>& small, const std::optional<double>& large, Quantity of_small,
          Quantity of_large, Quantity growth, Samples& samples) {
    if (small && large) {
        samples[of_small].push_back(*small);
        samples[of_large].push_back(*large);
        samples[growth].push_back(*large / *small);
    }
}

const std::vector<Row>& rows() {
    using enum Goal::Kind;
    static const std::vector<Row> all = {
        {Quantity::first_picture, "first picture after exec, 40 MB, ms", "%.0f"},
        {Quantity::first_picture_of_large_file, "first picture after exec, 4 GB, ms", "%.0f"},
        {Quantity::growth_of_first_picture, "  4 GB to 40 MB", "%.2f", {at_most, 1.5}},
        {Quantity::opening, "in the running player, 40 MB, ms", "%.0f"},
        {Quantity::opening_of_large_file, "in the running player, 4 GB, ms", "%.0f"},
        {Quantity::growth_of_opening, "  4 GB to 40 MB", "%.2f", {at_most, 1.5}},
    };
    return all;
}

} // namespace

void compare_opening(const Bench& bench) {
    const auto recipe = full_hd("h264", "8M", 50, small_seconds);
    const Stream small = make_numbered_stream(recipe, small_first);
    const RepeatedStream repeated(make_numbered_stream(recipe), times, bench.scratch);
    const Stream& large = repeated.stream();
    const auto columns = measure_in_turns(
        bench, bench.trick_players, [&](const TrickPlayerFactory& factory, Samples& samples) {
            const Opening small_first_run = measure(bench, *factory(small, usual_racing_speed), small, large);
            bench.desktop.wait_for_windows(0, patience);
            const Opening large_first_run = measure(bench, *factory(large, usual_racing_speed), large, small);
            note(small_first_run.first_picture, large_first_run.first_picture, Quantity::first_picture,
                 Quantity::first_picture_of_large_file, Quantity::growth_of_first_picture, samples);
            note(large_first_run.next, small_first_run.next, Quantity::opening,
                 Quantity::opening_of_large_file, Quantity::growth_of_opening, samples);
        });
    print_report("opening, 1080p25 H.264, 8 Mbit/s", rows(), columns);
}
