#include "live/live_stream.h"
#include "live/receiving_port.h"
#include "live/recorders.h"
#include "players/bench.h"
#include "players/report.h"
#include "support/stream_sender.h"
#include "support/udp_port.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <span>

namespace {

using namespace std::chrono_literals;

constexpr double bytes_per_megabit = 125'000;
constexpr std::size_t packet_size = 188;
constexpr int stream_seconds = 40;
constexpr double seconds_a_rate = 3;
constexpr double least_bytes = 8e6; // ffmpeg looks at that much before it begins

using Bytes = std::span<const std::uint8_t>;

/** Bytes of the pictures, the last one, which may be cut off, only where asked for. */
double picture_bytes(Bytes stream, bool with_last) {
    const auto pictures = coded_pictures(stream);
    double bytes = 0;
    for (const CodedPicture& picture : pictures) {
        bytes += static_cast<double>(picture.bytes);
    }
    return with_last || pictures.empty() ? bytes : bytes - static_cast<double>(pictures.back().bytes);
}

/** Whether a recording is the tables and then what was sent from the first picture on. */
bool is_bit_exact(Bytes recorded, Bytes sent) {
    constexpr std::size_t tables = 2 * packet_size;
    const auto pictures = coded_pictures(sent.first(std::min<std::size_t>(sent.size(), 1U << 20U)));
    return recorded.size() > tables && !pictures.empty() &&
           std::ranges::equal(recorded.subspan(tables), sent.subspan(pictures.front().begin));
}

/** @return megabits per second that were really sent */
double measure(const StreamRecorderFactory& factory, const std::vector<std::uint8_t>& sent,
               std::optional<double> megabits, const std::filesystem::path& scratch, Samples& samples) {
    const auto directory = scratch / "recording";
    std::filesystem::create_directories(directory);
    const std::uint16_t port = free_udp_port();
    const auto recorder = factory(port, directory);
    if (!wait_for_receiver(port, patience)) {
        return 0;
    }
    SendRecipe recipe;
    recipe.target.port = port;
    recipe.bytes_per_second =
        megabits ? *megabits * bytes_per_megabit : std::numeric_limits<double>::infinity();
    const auto start = Clock::now();
    const StreamSender sender(sent, recipe);
    sender.wait();
    const double seconds = Milliseconds(Clock::now() - start) / Milliseconds(1s);
    samples[Quantity::datagrams_dropped].push_back(static_cast<double>(datagrams_dropped(port).value_or(0)));
    const auto file = recorder->finish();
    const auto recorded = read_file(file);
    const double due = picture_bytes(sent, false);
    const double lost = std::max(0.0, due - picture_bytes(recorded, true));
    samples[Quantity::bytes_lost].push_back(lost / due * 100);
    samples[Quantity::bit_exact].push_back(is_bit_exact(recorded, sent) ? 100 : 0);
    std::filesystem::remove_all(directory);
    return static_cast<double>(sent.size()) / bytes_per_megabit / seconds;
}

std::vector<Row> rows(bool is_within_reach) {
    using enum Goal::Kind;
    const Goal nothing = is_within_reach ? Goal{at_most, 0} : Goal{};
    const Goal all = is_within_reach ? Goal{at_least, 100} : Goal{};
    return {
        {Quantity::bytes_lost, "bytes of pictures lost, %", "%.2f", nothing},
        {Quantity::bit_exact, "bit-exact recordings, %", "%.0f", all},
        {Quantity::datagrams_dropped, "datagrams dropped by the system", "%.0f"},
    };
}

} // namespace

void compare_recording(const Bench& bench) {
    const LiveStream stream(live_full_hd(40), stream_seconds, bench.scratch);
    const auto recorders = stream_recorders();
    for (const std::optional<double> megabits :
         std::initializer_list<std::optional<double>>{8, 40, 100, 200, 400, 800, std::nullopt}) {
        const double bytes =
            std::max(least_bytes, megabits.value_or(bytes_per_megabit) * bytes_per_megabit * seconds_a_rate);
        const auto packets = std::min(stream.bytes().size(), static_cast<std::size_t>(bytes)) / packet_size;
        const std::vector<std::uint8_t> sent(
            stream.bytes().begin(),
            std::next(stream.bytes().begin(), static_cast<std::ptrdiff_t>(packets * packet_size)));
        std::vector<Column> columns;
        double rate = 0;
        for (const auto& [name, factory] : recorders) {
            columns.push_back({.player = name, .samples = {}});
            rate = measure(factory, sent, megabits, bench.scratch, columns.back().samples);
        }
        print_report("recording at " + std::to_string(static_cast<int>(megabits.value_or(rate))) + " Mbit/s" +
                         (megabits ? "" : ", as fast as the sender can"),
                     rows(megabits.has_value()), columns);
    }
}
