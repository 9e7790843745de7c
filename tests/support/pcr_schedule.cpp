#include "support/pcr_schedule.h"

#include <cmath>
#include <map>
#include <optional>

namespace {

constexpr std::size_t packet_size = 188;
constexpr std::int64_t clock_hz = 27'000'000;
constexpr std::int64_t clock_wrap = (std::int64_t{1} << 33U) * 300;

struct ClockValue {
    unsigned pid;
    std::int64_t ticks; /* of 27 MHz */
};

std::optional<ClockValue> read_pcr(std::span<const std::uint8_t> packet) {
    const bool has_adaptation_field = (packet[3] & 0x20U) != 0;
    if (!has_adaptation_field || packet[4] < 7 || (packet[5] & 0x10U) == 0) {
        return std::nullopt;
    }
    std::int64_t base = 0;
    for (std::size_t i = 6; i < 10; ++i) {
        base = (base << 8U) | packet[i];
    }
    base = (base << 1U) | (packet[10] >> 7U);
    const std::int64_t extension = ((packet[10] & 1) << 8U) | packet[11];
    return ClockValue{.pid = ((packet[1] & 0x1FU) << 8U) | packet[2], .ticks = base * 300 + extension};
}

/** A stretch of packets between two values of the clock. */
struct Stretch {
    std::size_t begin; /* packets */
    std::size_t end;
    double seconds_per_packet;
};

/** A value of the clock and where it stands. */
struct Mark {
    std::size_t at; /* packets */
    ClockValue value;
};

std::vector<Mark> marks_of(std::span<const std::uint8_t> stream) {
    std::vector<Mark> marks;
    for (std::size_t at = 0; at < stream.size() / packet_size; ++at) {
        if (const auto value = read_pcr(stream.subspan(at * packet_size, packet_size))) {
            marks.push_back({.at = at, .value = *value});
        }
    }
    return marks;
}

/** The stretches whose length is known, in order. */
std::vector<Stretch> stretches_of(std::span<const std::uint8_t> stream) {
    const std::vector<Mark> marks = marks_of(stream);
    std::map<unsigned, std::size_t> last_of_pid;
    for (const Mark& mark : marks) {
        last_of_pid[mark.value.pid] = mark.at;
    }
    std::vector<Stretch> stretches;
    std::optional<Mark> last;
    for (const Mark& mark : marks) {
        if (!last || last_of_pid[last->value.pid] < mark.at) {
            last = mark;
        }
        if (mark.value.pid != last->value.pid || mark.at == last->at) {
            continue;
        }
        const std::int64_t passed = (mark.value.ticks - last->value.ticks + clock_wrap) % clock_wrap;
        const double seconds = static_cast<double>(passed) / clock_hz;
        stretches.push_back(
            {.begin = last->at,
             .end = mark.at,
             .seconds_per_packet = seconds > 1 ? 0 : seconds / static_cast<double>(mark.at - last->at)});
        last = mark;
    }
    return stretches;
}

} // namespace

std::vector<std::chrono::nanoseconds> pcr_schedule(std::span<const std::uint8_t> stream) {
    const std::vector<Stretch> stretches = stretches_of(stream);
    const std::size_t packets = stream.size() / packet_size;
    std::vector<std::chrono::nanoseconds> schedule;
    schedule.reserve(packets + 1);
    auto stretch = stretches.begin();
    double seconds = 0;
    for (std::size_t at = 0; at <= packets; ++at) {
        schedule.emplace_back(std::llround(seconds * 1e9));
        /* What lies outside the known stretches goes at the rate of the nearest one. */
        while (stretch != stretches.end() && std::next(stretch) != stretches.end() && at >= stretch->end) {
            ++stretch;
        }
        seconds += stretch == stretches.end() ? 0 : stretch->seconds_per_packet;
    }
    return schedule;
}
