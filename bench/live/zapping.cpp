#include "live/broadcast.h"
#include "live/receiving_port.h"
#include "players/bench.h"
#include "players/picture_watch.h"
#include "players/report.h"
#include "support/udp_port.h"

namespace {

using namespace std::chrono_literals;

constexpr int stream_seconds = 20;

/** The stream flows from the moment on at which it can be received, so that all wait for the same key
 * picture. */
void measure(const Bench& bench, const LivePlayerFactory& factory, const LiveStream& stream,
             Milliseconds distance, Samples& samples) {
    const std::uint16_t port = free_udp_port();
    const auto player = factory({.shown = stream.shown(), .port = port});
    const Joining joining = player->join();
    if (!wait_for_receiver(port, patience)) {
        return;
    }
    const auto open = Clock::now();
    const Broadcast broadcast(stream, port, stream.before(stream.second_key_picture(), distance));
    PictureWatch watch(bench.framebuffer, bench.desktop, stream.shown());
    const auto first = watch.wait_for_change(longest_start);
    if (!first) {
        return;
    }
    samples[Quantity::first_picture].push_back(Milliseconds(first->when - joining.start).count());
    if (const auto complete = broadcast.departure(stream.second_key_picture().turn)) {
        samples[Quantity::access_point].push_back(Milliseconds(*complete - open).count());
    }
    samples[Quantity::after_joining].push_back(Milliseconds(first->when - open).count());
    if (joining.in_window) {
        samples[Quantity::opening].push_back(Milliseconds(first->when - *joining.in_window).count());
    }
}

const std::vector<Row>& rows() {
    using enum Goal::Kind;
    static const std::vector<Row> all = {
        {Quantity::first_picture, "first picture after exec, ms", "%.0f", {ratio_at_most, 0.5}},
        {Quantity::opening, "after Play in the running player, ms", "%.0f"},
        {Quantity::after_joining, "after its port is open, ms", "%.0f"},
        {Quantity::access_point, "  the key picture is complete, ms", "%.0f"},
    };
    return all;
}

} // namespace

void compare_zapping(const Bench& bench) {
    const LiveStream stream(live_full_hd(8), stream_seconds, bench.scratch);
    for (const Milliseconds distance : {100ms, 500ms, 1000ms}) {
        const auto columns = measure_in_turns(bench, bench.live_players,
                                              [&](const LivePlayerFactory& factory, Samples& samples) {
                                                  measure(bench, factory, stream, distance, samples);
                                              });
        print_report("zap, 1080p25 H.264, 8 Mbit/s, a key picture begins " +
                         std::to_string(static_cast<int>(distance.count())) + " ms after the port is open",
                     rows(), columns);
    }
}
