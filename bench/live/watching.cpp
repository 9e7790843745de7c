#include "live/broadcast.h"
#include "live/receiving_port.h"
#include "live/showing.h"
#include "players/bench.h"
#include "players/picture_watch.h"
#include "players/report.h"
#include "support/udp_port.h"

#include <algorithm>
#include <cstdio>
#include <ctime>

namespace {

using namespace std::chrono_literals;

constexpr int settling_seconds = 2;
constexpr int starting_seconds = 12; // the longest start of a player, and settling

Milliseconds own_processor_time() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

/** What is watched, by whom it is judged and what for. */
struct Case {
    std::string name;
    LiveRecipe recipe;
    bool is_low_delay;
    int seconds;
    std::vector<std::string> parts;
    std::string peer;
    Goal delay;
};

std::vector<Case> cases(int seconds) {
    using enum Goal::Kind;
    return {
        {"1080p25 H.264, 8 Mbit/s, B-frames, sound",
         live_full_hd(8),
         false,
         seconds,
         {"latency", "loss"},
         "mpv",
         {ratio_at_most, 0.8}},
        {"720p25 H.264, 4 Mbit/s, without delay",
         live_low_delay(),
         true,
         seconds / 4, // it has no groups to wait for and no sound
         {"latency"},
         "ffplay",
         {ratio_at_most, 0.6}},
        {"1080p25 H.264, 20 Mbit/s, B-frames, sound", live_full_hd(20), false, seconds, {"loss"}, "mpv", {}},
        {"1080p25 H.264, 40 Mbit/s, B-frames, sound", live_full_hd(40), false, seconds, {"loss"}, "mpv", {}},
    };
}

/** Ours first, then the one it is judged by. */
LivePlayers ordered(LivePlayers players, const std::string& peer) {
    std::stable_partition(std::next(players.begin()), players.end(),
                          [&](const auto& player) { return player.first == peer; });
    return players;
}

void measure(const Bench& bench, const LivePlayerFactory& factory, const LiveStream& stream, const Case& test,
             Samples& samples) {
    const std::uint16_t port = free_udp_port();
    const auto player = factory({.shown = stream.shown(), .port = port, .is_low_delay = test.is_low_delay});
    player->join();
    if (!wait_for_receiver(port, patience)) {
        return;
    }
    const Broadcast broadcast(stream, port);
    PictureWatch watch(bench.framebuffer, bench.desktop, stream.shown());
    const auto first = watch.wait_for_change(longest_start);
    if (!first) {
        return;
    }
    auto seen = watch.watch_for(Milliseconds(1s * settling_seconds));
    seen.insert(seen.begin(), *first);
    const std::size_t settled = seen.size();
    const Milliseconds spent_before = player->process().processor_time();
    const Milliseconds own_before = own_processor_time();
    const auto later = watch.watch_for(Milliseconds(1s * test.seconds));
    samples[Quantity::watching].push_back((own_processor_time() - own_before).count() / test.seconds);
    const Milliseconds spent = player->process().processor_time() - spent_before;
    samples[Quantity::datagrams_dropped].push_back(static_cast<double>(datagrams_dropped(port).value_or(0)));
    seen.insert(seen.end(), later.begin(), later.end());
    const Showing showing(seen, settled, stream.shown());
    if (showing.distinct() == 0) {
        return;
    }
    samples[Quantity::processor_time_per_picture].push_back(spent.count() / showing.distinct());
    samples[Quantity::pictures_missing].push_back(showing.missing());
    samples[Quantity::pictures_again].push_back(showing.again());
    samples[Quantity::longest_gap].push_back(longest_gap(later).count());
    samples[Quantity::peak_memory].push_back(player->process().peak_memory());
    for (const ShownPicture& picture : showing.pictures()) {
        if (const auto left = broadcast.departure(picture.turn)) {
            samples[Quantity::delay].push_back(Milliseconds(picture.when - *left).count());
        }
    }
}

std::vector<Row> rows(const Goal& delay) {
    using enum Goal::Kind;
    using enum Statistic;
    return {
        {Quantity::delay, "last packet to screen, ms", "%.0f", delay},
        {Quantity::delay, "  95 %", "%.0f", delay, ninety_fifth},
        {Quantity::pictures_missing, "pictures never shown", "%.0f", {at_most, 0}},
        {Quantity::pictures_again, "pictures shown again", "%.0f", {at_most, 0}},
        {Quantity::longest_gap, "longest gap, ms", "%.0f"},
        {Quantity::datagrams_dropped, "datagrams dropped by the system", "%.0f", {at_most, 0}},
        {Quantity::processor_time_per_picture,
         "processor time per picture, ms",
         "%.1f",
         {ratio_at_most, 0.9}},
        {Quantity::peak_memory, "peak memory, MiB", "%.0f"},
        {Quantity::watching, "watcher's processor time per second, ms", "%.0f"},
    };
}

void compare(const Bench& bench, const Case& test) {
    std::printf("making %s\n", test.name.c_str());
    std::fflush(stdout);
    const LiveStream stream(test.recipe, test.seconds + starting_seconds, bench.scratch);
    Bench once = bench;
    once.rounds = 1; // each is long enough
    const auto columns = measure_in_turns(once, ordered(bench.live_players, test.peer),
                                          [&](const LivePlayerFactory& factory, Samples& samples) {
                                              measure(bench, factory, stream, test, samples);
                                          });
    char least[32];
    std::snprintf(least, sizeof(least), "%.0f", stream.least_even_delay().count());
    print_report(test.name + ", " + std::to_string(test.seconds) + " s; its time stamps allow a delay of " +
                     least + " ms",
                 rows(test.delay), columns);
}

} // namespace

void compare_watching(const Bench& bench) {
    for (const Case& test : cases(bench.seconds)) {
        if (bench.part == "live" || std::ranges::count(test.parts, bench.part) > 0) {
            compare(bench, test);
        }
    }
}
