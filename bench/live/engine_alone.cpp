#include "engine/table/live_under_test.h"
#include "live/broadcast.h"
#include "live/showing.h"
#include "players/bench.h"
#include "players/report.h"

#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <sys/resource.h>

namespace {

using namespace std::chrono_literals;

constexpr int view_mask = 1 << STREAMING_BIT;

Milliseconds processor_time_of_children() {
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    return std::chrono::seconds(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           std::chrono::microseconds(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec);
}

/** Processor time of going through the video of a stream. */
Milliseconds time_of_reading(const Stream& stream, const std::string& input_options,
                             const std::string& output_options) {
    const Milliseconds before = processor_time_of_children();
    const std::string command = "ffmpeg -nostdin -loglevel error " + input_options + " -i '" +
                                stream.file.string() + "' -map 0:v " + output_options + " -f null -";
    // NOLINTNEXTLINE(cert-env33-c): the command is this file's own
    if (std::system(command.c_str()) != 0) {
        throw std::runtime_error("a stream cannot be decoded");
    }
    return processor_time_of_children() - before;
}

/** Processor time of decoding a key picture. */
Milliseconds decoding_time(const Stream& stream) {
    const double keys = static_cast<double>(stream.count) / stream.gop;
    return (time_of_reading(stream, "-threads 1 -skip_frame nokey", "") -
            time_of_reading(stream, "", "-c copy")) /
           keys;
}

/** Joins as viewers do, between two key pictures. */
void join(const LiveStream& stream, Milliseconds decoding, Samples& samples) {
    constexpr Milliseconds distance = 300ms;
    const EngineLibrary library;
    EngineUnderTest engine(library);
    const std::uint16_t port = free_udp_port();
    const CodedPicture& key = stream.second_key_picture();
    if (view(engine, live_setup(port), view_mask) != 0) {
        return;
    }
    const Broadcast broadcast(stream, port, stream.before(key, distance));
    if (!engine.wait_for_pictures(1)) {
        return;
    }
    const auto complete = broadcast.departure(key.turn);
    const auto pictures = engine.pictures();
    if (complete) {
        const Milliseconds after = pictures.front().when - *complete;
        samples[Quantity::after_access_point].push_back(after.count());
        samples[Quantity::beyond_access_point].push_back((after - 2 * decoding).count());
    }
}

void watch(const LiveStream& stream, int seconds, Samples& samples) {
    const EngineLibrary library;
    EngineUnderTest engine(library);
    const std::uint16_t port = free_udp_port();
    if (view(engine, live_setup(port), view_mask) != 0) {
        return;
    }
    const Broadcast broadcast(stream, port);
    engine.wait_for_pictures(static_cast<std::size_t>(seconds) * static_cast<std::size_t>(stream.shown().fps),
                             std::chrono::seconds(seconds + 1));
    std::vector<Sighting> seen;
    for (const ReceivedPicture& picture : engine.pictures()) {
        if (picture.number) {
            seen.push_back({.number = *picture.number, .when = picture.when});
        }
    }
    constexpr std::size_t settling = 25; // pictures
    const Showing showing(seen, settling, stream.shown());
    for (const ShownPicture& picture : showing.pictures()) {
        if (const auto left = broadcast.departure(picture.turn)) {
            samples[Quantity::delay].push_back(Milliseconds(picture.when - *left).count());
        }
    }
    samples[Quantity::pictures_missing].push_back(showing.missing());
}

void print(const std::string& title, const std::vector<Row>& rows, const Samples& samples) {
    const Column column{.player = "engine", .samples = samples};
    print_report(title, rows, {&column, 1});
}

} // namespace

void measure_engine(const Bench& bench) {
    using enum Goal::Kind;
    using enum Statistic;
    constexpr int joins = 10;
    constexpr int watched_seconds = 10;
    const LiveStream full_hd_stream(live_full_hd(8), watched_seconds + 2, bench.scratch);
    const Milliseconds decoding = decoding_time(full_hd_stream.shown());
    Samples joined;
    for (int i = 0; i < joins; ++i) {
        join(full_hd_stream, decoding, joined);
    }
    char decoding_text[32];
    std::snprintf(decoding_text, sizeof(decoding_text), "%.0f", decoding.count());
    print(std::string("engine alone, joining 1080p25 H.264, 8 Mbit/s; its key pictures take ") +
              decoding_text + " ms to decode",
          {{Quantity::after_access_point, "first picture after its last packet, ms", "%.0f"},
           {Quantity::beyond_access_point, "  less two decodings, ms", "%.0f", {at_most, 30}}},
          joined);

    const LiveStream low_delay(live_low_delay(), watched_seconds + 2, bench.scratch);
    Samples watched;
    watch(low_delay, watched_seconds, watched);
    print("engine alone, 720p25 H.264, 4 Mbit/s, without delay",
          {{Quantity::delay, "last packet to callback, ms", "%.1f", {at_most, 25}},
           {Quantity::delay, "  95 %", "%.1f", {}, ninety_fifth},
           {Quantity::pictures_missing, "pictures never shown", "%.0f", {at_most, 0}}},
          watched);
}
