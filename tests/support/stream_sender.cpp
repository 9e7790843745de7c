#include "support/stream_sender.h"

#include "support/pcr_schedule.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <utility>

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::nanoseconds;
using Bytes = std::vector<std::uint8_t>;
constexpr std::size_t packet_size = 188;

void append_big_endian(Bytes& bytes, std::uint32_t value, int size) {
    for (int shift = 8 * (size - 1); shift >= 0; shift -= 8) {
        bytes.push_back(static_cast<std::uint8_t>(value >> static_cast<unsigned>(shift)));
    }
}

Bytes rtp_header(std::uint64_t sequence, nanoseconds due, std::uint32_t ssrc) {
    constexpr std::uint8_t version = 0x80;
    constexpr std::uint8_t transport_stream = 33;
    constexpr std::int64_t nanoseconds_per_9_ticks = 100'000;
    Bytes header{version, transport_stream};
    append_big_endian(header, static_cast<std::uint16_t>(sequence), 2);
    append_big_endian(header, static_cast<std::uint32_t>(due.count() * 9 / nanoseconds_per_9_ticks), 4);
    append_big_endian(header, ssrc, 4);
    return header;
}

std::vector<nanoseconds> even_schedule(std::size_t packets, double bytes_per_second) {
    std::vector<nanoseconds> schedule;
    for (std::size_t i = 0; i <= packets; ++i) {
        schedule.emplace_back(std::llround(static_cast<double>(i * packet_size) / bytes_per_second * 1e9));
    }
    return schedule;
}

} // namespace

StreamSender::StreamSender(std::vector<std::uint8_t> stream, SendRecipe recipe)
    : stream_{std::move(stream)}, recipe_{std::move(recipe)}, wire_{recipe_.target, recipe_.fate},
      thread_{[this](const std::stop_token& stop) { run(stop); }} {}

void StreamSender::run(const std::stop_token& stop) {
    const std::size_t packets = stream_.size() / packet_size;
    const auto schedule =
        recipe_.bytes_per_second ? even_schedule(packets, *recipe_.bytes_per_second) : pcr_schedule(stream_);
    start_ = Clock::now();
    std::size_t bytes = 0;
    nanoseconds looped{0};
    do {
        for (std::size_t at = 0; at < packets; at += static_cast<std::size_t>(recipe_.packets_per_datagram)) {
            if (!wait_until_due(looped + schedule[at], stop)) {
                return;
            }
            bytes += send(at, looped + schedule[at]);
            if (recipe_.on_progress) {
                recipe_.on_progress(bytes);
            }
        }
        looped += schedule.back();
    } while (recipe_.loops);
    wire_.flush();
    const std::lock_guard lock{mutex_};
    finished_ = true;
    changed_.notify_all();
}

bool StreamSender::wait_until_due(nanoseconds due, const std::stop_token& stop) {
    std::unique_lock lock{mutex_};
    while (!stop.stop_requested()) {
        if (paused_) {
            const auto stopped = Clock::now();
            changed_.wait(lock, stop, [this] { return !paused_; });
            start_ += Clock::now() - stopped;
        } else if (Clock::now() >= start_ + due) {
            return true;
        } else {
            changed_.wait_until(lock, stop, start_ + due, [this] { return paused_; });
        }
    }
    return false;
}

std::size_t StreamSender::send(std::size_t first_packet, nanoseconds due) {
    const std::size_t begin = first_packet * packet_size;
    const std::size_t size = std::min(static_cast<std::size_t>(recipe_.packets_per_datagram) * packet_size,
                                      stream_.size() / packet_size * packet_size - begin);
    const auto packets = std::span{stream_}.subspan(begin, size);
    Bytes datagram;
    if (recipe_.rtp) {
        datagram = rtp_header(recipe_.first_sequence + number_, due, recipe_.ssrc);
    }
    for (const std::span<const std::uint8_t> part :
         {std::span{recipe_.in_front}, packets, std::span{recipe_.behind}}) {
        datagram.insert(datagram.end(), part.begin(), part.end());
    }
    ++number_;
    const DatagramFate fate = wire_.put(std::move(datagram));
    const std::lock_guard lock{mutex_};
    if (fate.copies == 0) {
        ++truth_.lost;
    } else {
        ++truth_.datagrams;
        truth_.repeated += static_cast<unsigned>(fate.copies - 1);
        truth_.bytes += size;
    }
    return size;
}

void StreamSender::pause() {
    set_paused(true);
}

void StreamSender::resume() {
    set_paused(false);
}

void StreamSender::set_paused(bool paused) {
    const std::lock_guard lock{mutex_};
    paused_ = paused;
    changed_.notify_all();
}

void StreamSender::wait() const {
    std::unique_lock lock{mutex_};
    changed_.wait(lock, [this] { return finished_; });
}

bool StreamSender::finished() const {
    const std::lock_guard lock{mutex_};
    return finished_;
}

SendTruth StreamSender::truth() const {
    const std::lock_guard lock{mutex_};
    return truth_;
}
