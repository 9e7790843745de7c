#include "players/bench.h"
#include "players/picture_watch.h"
#include "players/report.h"

#include <cstdio>

namespace {

using namespace std::chrono_literals;

constexpr int next_first = 1'000'000; // numbers of the stream that is opened in the running player
constexpr Milliseconds silence = 2s;

struct Case {
    const char* name;
    StreamRecipe recipe;
};

std::vector<Case> cases(int seconds) {
    return {
        {"1080p25 H.264, 8 Mbit/s, shown at 720x405", full_hd("h264", "8M", 50, seconds)},
        {"1080p25 HEVC, 5 Mbit/s, shown at 720x405", full_hd("hevc", "5M", 50, seconds)},
        {"576i25 MPEG-2, 6 Mbit/s, shown at 720x576",
         {.codec = "mpeg2",
          .width = 720,
          .height = 576,
          .fps = 25,
          .gop = 12,
          .bframes = 2,
          .bitrate = "6M",
          .interlaced = true,
          .duration = seconds,
          .audio = "mp2"}},
    };
}

/** From the player's start to the stream's end; then opens `next` in the running player. */
void measure(const Bench& bench, Player& player, const Stream& stream, const Stream& next, Samples& samples) {
    const auto start = player.play();
    PictureWatch watch(bench.framebuffer, bench.desktop, stream);
    if (const auto first = watch.wait_for_change(patience)) {
        samples[Quantity::first_picture].push_back(Milliseconds(first->when - start).count());
        const Milliseconds before = player.process().processor_time();
        auto seen = watch.watch_to_end(silence);
        const Milliseconds spent = player.process().processor_time() - before;
        seen.push_back(*first);
        const double shown = distinct_pictures(seen);
        samples[Quantity::pictures_shown].push_back(shown);
        samples[Quantity::processor_time_per_picture].push_back(spent.count() / shown);
        samples[Quantity::peak_memory].push_back(player.process().peak_memory());
    }
    if (const auto order = player.open(next)) {
        PictureWatch next_watch(bench.framebuffer, bench.desktop, next);
        if (const auto first = next_watch.wait_for_change(patience)) {
            samples[Quantity::opening].push_back(Milliseconds(first->when - *order).count());
        }
    }
}

std::vector<Row> rows(std::uint32_t pictures_due) {
    using enum Goal::Kind;
    return {
        {Quantity::first_picture, "first picture after exec, ms", "%.0f", {ratio_at_most, 0.90}},
        {Quantity::opening, "opening in the running player, ms", "%.0f", {ratio_at_most, 0.40}},
        {Quantity::processor_time_per_picture,
         "processor time per picture, ms",
         "%.2f",
         {ratio_at_most, 0.90}},
        {Quantity::peak_memory, "peak memory, MiB", "%.0f", {ratio_at_most, 1.0}},
        {Quantity::pictures_shown, "pictures shown", "%.0f", {at_least, static_cast<double>(pictures_due)}},
    };
}

} // namespace

void compare_playing(const Bench& bench) {
    std::vector<std::pair<std::string, PlayerFactory>> players;
    players.reserve(bench.trick_players.size() + bench.plain_players.size());
    for (const auto& player : bench.trick_players) {
        players.emplace_back(player.first, [make = player.second](const Stream& stream) {
            return make(stream, usual_racing_speed);
        });
    }
    players.insert(players.end(), bench.plain_players.begin(), bench.plain_players.end());
    for (const Case& test : cases(bench.seconds)) {
        std::printf("making %s\n", test.name);
        std::fflush(stdout);
        const Stream stream = make_numbered_stream(test.recipe);
        const Stream next = make_numbered_stream(test.recipe, next_first);
        const auto columns =
            measure_in_turns(bench, players, [&](const PlayerFactory& factory, Samples& samples) {
                measure(bench, *factory(stream), stream, next, samples);
            });
        print_report(std::string(test.name) + ", " + std::to_string(stream.count) + " pictures due",
                     rows(stream.count), columns);
    }
}
