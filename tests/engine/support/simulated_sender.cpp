#include "support/simulated_sender.h"

#include "ts/clock_reference.h"
#include "ts/pes.h"
#include "ts/ts_packet.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <span>
#include <stdexcept>

namespace velmora::test {

namespace {

using Packet = std::span<std::uint8_t, ts_packet_size>;
using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t clock_at = 6;
constexpr std::size_t pts_in_header = 9;
constexpr std::size_t time_size = 5;
constexpr std::size_t packets_per_datagram = 7;

Bytes read(const std::filesystem::path& file) {
    std::ifstream stream{file, std::ios::binary};
    return {std::istreambuf_iterator<char>{stream}, std::istreambuf_iterator<char>{}};
}

Packet packet_at(Bytes& bytes, std::size_t at) {
    return std::span{bytes}.subspan(at).first<ts_packet_size>();
}

std::optional<PesHeader> video_header(const TsPacket& packet) {
    constexpr unsigned video_mask = 0xF0;
    constexpr unsigned video_id = 0xE0;
    const auto header = packet.payload_unit_start ? parse_pes_header(packet.payload) : std::nullopt;
    return header && (header->stream_id & video_mask) == video_id ? header : std::nullopt;
}

void write_clock(Packet packet, std::uint64_t ticks) {
    packet[clock_at] = static_cast<std::uint8_t>(ticks >> 25U);
    packet[clock_at + 1] = static_cast<std::uint8_t>(ticks >> 17U);
    packet[clock_at + 2] = static_cast<std::uint8_t>(ticks >> 9U);
    packet[clock_at + 3] = static_cast<std::uint8_t>(ticks >> 1U);
    packet[clock_at + 4] = static_cast<std::uint8_t>((packet[clock_at + 4] & 0x7FU) | (ticks & 1U) << 7U);
}

void write_time(std::span<std::uint8_t> field, std::uint64_t ticks) {
    field[0] = static_cast<std::uint8_t>((field[0] & 0xF1U) | ((ticks >> 29U) & 0x0EU));
    field[1] = static_cast<std::uint8_t>(ticks >> 22U);
    field[2] = static_cast<std::uint8_t>(((ticks >> 14U) & 0xFEU) | 1U);
    field[3] = static_cast<std::uint8_t>(ticks >> 7U);
    field[4] = static_cast<std::uint8_t>(((ticks << 1U) & 0xFEU) | 1U);
}

/// The stream once more, with all time stamps later and the counters going on.
class Repetition {
public:
    void apply(Bytes& stream, std::int64_t later) {
        for (std::size_t at = 0; at + ts_packet_size <= stream.size(); at += ts_packet_size) {
            const Packet bytes = packet_at(stream, at);
            const auto packet = parse_ts_packet(bytes, at);
            if (!packet) {
                throw std::runtime_error{"no transport stream"};
            }
            if (const auto clock = clock_reference(*packet)) {
                write_clock(bytes, static_cast<std::uint64_t>(clock->ticks + later));
            }
            if (const auto header = video_header(*packet)) {
                const auto field = std::span<std::uint8_t>{bytes}.subspan(
                    ts_packet_size - packet->payload.size() + pts_in_header);
                write_time(field, static_cast<std::uint64_t>(header->pts->ticks + later));
                if (header->dts != header->pts) {
                    write_time(field.subspan(time_size),
                               static_cast<std::uint64_t>(header->dts->ticks + later));
                }
            }
            if (packet->has_payload) {
                auto& counter = counters_[packet->pid];
                bytes[3] = static_cast<std::uint8_t>((bytes[3] & 0xF0U) | (counter++ & 0x0FU));
            }
        }
    }

private:
    std::map<std::uint16_t, unsigned> counters_;
};

Milliseconds since(StreamTime time, StreamTime begin) {
    return Milliseconds{static_cast<double>(time.ticks - begin.ticks) / 90.0};
}

void sort_out(Arrivals& arrivals) {
    for (std::size_t i = 1; i < arrivals.size(); ++i) {
        arrivals[i].at = std::max(arrivals[i].at, arrivals[i - 1].at);
    }
}

} // namespace

SentStream::SentStream(const std::filesystem::path& file, int times) {
    const Bytes once = read(file);
    Repetition repetition;
    std::optional<StreamTime> begin;
    std::int64_t length = 0;
    for (int i = 0; i < times; ++i) {
        Bytes stream = once;
        repetition.apply(stream, i * length);
        StreamTime last{};
        StreamTime before{};
        bool is_begun = false;
        Bytes in_front;
        for (std::size_t at = 0; at + ts_packet_size <= stream.size(); at += ts_packet_size) {
            const Packet bytes = packet_at(stream, at);
            if (const auto header = video_header(*parse_ts_packet(bytes, at))) {
                begin = begin.value_or(*header->dts);
                before = std::exchange(last, *header->dts);
                pictures_.push_back(
                    {since(*header->dts, *begin), since(*header->pts, *begin), std::move(in_front)});
                in_front.clear();
                is_begun = true;
            }
            Bytes& target = is_begun ? pictures_.back().packets : in_front;
            target.insert(target.end(), bytes.begin(), bytes.end());
        }
        if (!begin) {
            throw std::runtime_error{"no video in " + file.string()};
        }
        length = length == 0 ? last.ticks - begin->ticks + (last.ticks - before.ticks) : length;
    }
}

Arrivals SentStream::whole_pictures() const {
    Arrivals arrivals;
    for (const SentPicture& picture : pictures_) {
        arrivals.push_back({picture.decoded, picture.packets});
    }
    return arrivals;
}

Arrivals SentStream::on_wire(double bytes_per_second) const {
    Arrivals arrivals;
    Milliseconds free_at{0};
    for (const SentPicture& picture : pictures_) {
        free_at = std::max(free_at, picture.decoded);
        constexpr std::size_t datagram = packets_per_datagram * ts_packet_size;
        for (std::size_t at = 0; at < picture.packets.size(); at += datagram) {
            const auto part =
                std::span{picture.packets}.subspan(at, std::min(datagram, picture.packets.size() - at));
            free_at += std::chrono::duration<double>{static_cast<double>(part.size()) / bytes_per_second};
            arrivals.push_back({free_at, {part.begin(), part.end()}});
        }
    }
    return arrivals;
}

Arrivals with_drift(Arrivals arrivals, double clock) {
    for (Arrival& arrival : arrivals) {
        arrival.at /= 1.0 + clock;
    }
    return arrivals;
}

Arrivals with_jitter(Arrivals arrivals, const std::function<Milliseconds(std::size_t)>& delay) {
    for (std::size_t i = 0; i < arrivals.size(); ++i) {
        arrivals[i].at += delay(i);
    }
    sort_out(arrivals);
    return arrivals;
}

Arrivals in_bursts(Arrivals arrivals, Milliseconds length) {
    for (Arrival& arrival : arrivals) {
        arrival.at = (std::floor(arrival.at / length) + 1.0) * length;
    }
    return arrivals;
}

Arrivals held_up(Arrivals arrivals, Milliseconds begin, Milliseconds length) {
    for (Arrival& arrival : arrivals) {
        if (arrival.at >= begin) {
            arrival.at = std::max(arrival.at, begin + length);
        }
    }
    return arrivals;
}

Arrivals with_loss(Arrivals arrivals, const std::function<bool(std::size_t)>& is_lost) {
    std::size_t number = 0;
    std::erase_if(arrivals, [&](const Arrival&) { return is_lost(number++); });
    return arrivals;
}

} // namespace velmora::test
