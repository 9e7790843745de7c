#include "players/bench.h"
#include "players/picture_watch.h"
#include "players/report.h"

#include <cstdio>
#include <thread>

namespace {

using namespace std::chrono_literals;

/**
 * Seconds to seek to, one after the other: far enough from where playing is by then for a new picture to be
 * told from the one before, and for a press on the slider not to meet its handle or end one page from it.
 */
constexpr int targets[] = {31, 9, 44, 20, 53, 6, 37, 14};

/** Waits until a player does nothing any more. */
void wait_until_quiet(const ChildProcess& process) {
    constexpr auto window = 200ms;
    constexpr Milliseconds quiet = 4ms; // of processor time
    const auto end = Clock::now() + patience;
    Milliseconds before = process.processor_time();
    while (Clock::now() < end) {
        std::this_thread::sleep_for(window);
        const Milliseconds now = process.processor_time();
        if (now - before < quiet) {
            return;
        }
        before = now;
    }
}

struct Landing {
    Milliseconds after;
    bool exact;
};

/** The first picture after a seek that does not belong to where the player was. */
std::optional<Landing> land(PictureWatch& watch, const Stream& stream, Clock::time_point order,
                            std::uint32_t from, std::uint32_t target) {
    while (const auto sighting = watch.wait_for_change(patience)) {
        const Milliseconds after = sighting->when - order;
        const auto played = static_cast<std::uint32_t>(after.count() * stream.fps / 1000) + 5;
        if (sighting->number <= from || sighting->number > from + played) {
            return Landing{.after = after, .exact = sighting->number == target};
        }
    }
    return std::nullopt;
}

void note(const std::optional<Landing>& landing, Quantity quantity, Samples& samples) {
    const bool exact = landing && landing->exact;
    samples[Quantity::exact_seeks].push_back(exact ? 100 : 0);
    if (exact) {
        samples[quantity].push_back(landing->after.count());
    }
}

void seek_in_pause(TrickPlayer& player, PictureWatch& watch, const Stream& stream, Samples& samples) {
    std::uint32_t from = stream.first;
    for (const int second : targets) {
        wait_until_quiet(player.process());
        const Milliseconds before = player.process().processor_time();
        const auto order = player.seek(second);
        const auto landing = land(watch, stream, order, from, stream.number_at(second));
        wait_until_quiet(player.process());
        const Milliseconds spent = player.process().processor_time() - before;
        note(landing, Quantity::seek_in_pause, samples);
        samples[Quantity::processor_time_per_seek].push_back(spent.count());
        from = stream.number_at(second);
    }
}

void seek_while_playing(TrickPlayer& player, PictureWatch& watch, const Stream& stream, Samples& samples) {
    constexpr Milliseconds between = 1500ms;
    for (const int second : targets) {
        const auto seen = watch.watch_for(between);
        if (seen.empty()) {
            continue; // still on its way: nothing would tell the next picture from a late one
        }
        const auto order = player.seek(second);
        note(land(watch, stream, order, seen.back().number, stream.number_at(second)),
             Quantity::seek_while_playing, samples);
    }
}

void measure(const Bench& bench, TrickPlayer& player, const Stream& stream, Samples& samples) {
    constexpr Milliseconds settling = 2500ms; // our window learns the length of the file once a second
    player.play();
    PictureWatch watch(bench.framebuffer, bench.desktop, stream);
    watch.watch_for(settling);
    seek_while_playing(player, watch, stream, samples);
    player.pause();
    watch.watch_for(settling);
    seek_in_pause(player, watch, stream, samples);
}

const std::vector<Row>& rows() {
    using enum Goal::Kind;
    using enum Statistic;
    static const std::vector<Row> all = {
        {Quantity::seek_while_playing, "exact picture, playing, ms", "%.0f", {ratio_at_most, 0.5}},
        {Quantity::seek_while_playing, "  95 %", "%.0f", {ratio_at_most, 0.5}, ninety_fifth},
        {Quantity::seek_in_pause, "exact picture, paused, ms", "%.0f", {ratio_at_most, 0.5}},
        {Quantity::seek_in_pause, "  95 %", "%.0f", {ratio_at_most, 0.5}, ninety_fifth},
        {Quantity::processor_time_per_seek, "processor time, paused, ms", "%.0f", {ratio_at_most, 0.5}},
        {Quantity::exact_seeks, "seeks that show the exact picture, %", "%.1f", {at_least, 100}, mean},
    };
    return all;
}

} // namespace

void compare_seeking(const Bench& bench) {
    for (const int gop : {50, 250}) {
        const Stream stream = make_numbered_stream(minute_for_review(gop));
        const auto columns = measure_in_turns(
            bench, bench.trick_players, [&](const TrickPlayerFactory& factory, Samples& samples) {
                measure(bench, *factory(stream, usual_racing_speed), stream, samples);
            });
        print_report("seeking, 1080p25 H.264, 8 Mbit/s, a key picture every " + std::to_string(gop), rows(),
                     columns);
    }
}
