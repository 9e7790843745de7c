#include "out/stream_out.h"

#include "diagnostics/log.h"
#include "file/packet_reader.h"
#include "out/packet_maker.h"

#include <algorithm>
#include <exception>
#include <string>
#include <sys/prctl.h>
#include <utility>

namespace velmora {

namespace {

using namespace std::chrono_literals;

/// Datagrams of this time go out together: half of them a little early, the others as much late.
constexpr auto batch = 2ms;
/// How often to look whether there is something to send again.
constexpr auto idle_interval = 5ms;
constexpr auto filler_interval = 100ms;
/// A sender that is late catches up so much faster than the stream.
constexpr double catch_up = 1.5;
/// Where to look for the tables in front of an access point, bytes.
constexpr std::uint64_t table_search = std::uint64_t{1} << 20U;
constexpr std::size_t read_size = std::size_t{64} << 10U;

} // namespace

StreamOut::StreamOut(Source source, const DatagramTarget& target, TimeSource& time)
    : time_{time}, source_{std::move(source)}, sender_{target}, points_{source_.file, source_.index},
      packets_{source_.file} {
    thread_ = Worker{time, [this](const std::stop_token& stop) { run(stop); }};
}

void StreamOut::run(const std::stop_token& stop) {
    ::prctl(PR_SET_TIMERSLACK, 1UL, 0UL, 0UL, 0UL);
    while (!stop.stop_requested()) {
        SteadyTime next = time_.now() + filler_interval;
        try {
            next = step();
        } catch (const std::exception& error) {
            log_incident("out", "step", std::string{"a part of the file was not sent: "} + error.what());
        }
        never_->wait(stop, next);
    }
}

/// @return when there is more to do
SteadyTime StreamOut::step() {
    const PlayProgress progress = source_.progress();
    const SteadyTime now = time_.now();
    const bool goes_on = progress.is_plain && (!progress.is_at_end || stretch_ == progress.jumps);
    if (!goes_on) {
        stretch_.reset();
        keep_waiting(now);
        return now + idle_interval;
    }
    if (stretch_ != progress.jumps) {
        if (!begin_stretch(progress.position)) {
            keep_waiting(now);
            return now + idle_interval;
        }
        stretch_ = progress.jumps;
        stretch_begin_ = now;
        sent_at_ = now;
        sent_to_ = 0ns;
    }
    const auto most = std::chrono::duration_cast<std::chrono::nanoseconds>((now - sent_at_) * catch_up);
    sent_to_ = std::min<std::chrono::nanoseconds>(now - stretch_begin_, sent_to_ + most);
    sent_at_ = now;
    send_until(sent_to_ + batch / 2);
    const PacedPacket* const next = packets_.front();
    if (next == nullptr) {
        sender_.end_datagram();
        keep_waiting(now);
        return now + idle_interval; // a growing file has more soon
    }
    return std::max(now + batch, stretch_begin_ + next->time);
}

/// @return false while it is not known where to begin
bool StreamOut::begin_stretch(Position position) {
    const auto start = points_.find(position);
    if (!start) {
        return false;
    }
    // What stands in front of the first access point belongs to it.
    const auto first = points_.find(Position{});
    const bool is_first = !*start || (first && *first && (*first)->offset == (*start)->offset);
    const std::uint64_t offset = is_first ? source_.file->layout().first_sync : (*start)->offset;
    read_tables_before(std::max(offset, table_search));
    packets_.begin(offset);
    chooser_.restart(*start ? (*start)->streams.get() : nullptr);
    announced_.clear();
    sender_.end_datagram();
    put_tables();
    return true;
}

void StreamOut::read_tables_before(std::uint64_t offset) {
    PacketReader reader{source_.file, read_size, PacketReader::Losses::silent};
    const std::uint64_t stride = source_.file->layout().stride;
    const std::uint64_t first = source_.file->layout().first_sync;
    const std::uint64_t begin =
        offset > table_search + first ? offset - table_search / stride * stride : first;
    reader.seek(begin);
    while (reader.offset() < offset &&
           reader.read_block([this](const TsPacket& packet) { tables_.feed(packet); })) {
        // The last ones count.
    }
}

void StreamOut::put_tables() {
    const std::vector<std::uint8_t> bytes = tables_.bytes();
    for (std::size_t at = 0; at + ts_packet_size <= bytes.size(); at += ts_packet_size) {
        MadePacket packet;
        std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(at), ts_packet_size, packet.begin());
        const unsigned counter = table_counters_[(packet[1] & 0x1FU) << 8U | packet[2]]++;
        packet[3] = static_cast<std::uint8_t>((packet[3] & 0xF0U) | (counter & 0x0FU));
        sender_.add(packet);
    }
}

void StreamOut::send_until(std::chrono::nanoseconds time) {
    const PacedPacket* packet = packets_.front();
    while (packet != nullptr && packet->time <= time) {
        send_packet(*packet);
        packets_.pop();
        packet = packets_.front();
    }
    sender_.flush(rtp_time(sent_at_));
}

void StreamOut::send_packet(const PacedPacket& packet) {
    const auto parsed = parse_ts_packet(TsPacketBytes{packet.bytes}, 0);
    if (parsed && parsed->pid != null_packet_pid) {
        if (announced_.insert(parsed->pid).second) {
            sender_.add(discontinuity_packet(parsed->pid, parsed->continuity_counter));
        }
        tables_.feed(*parsed);
        chooser_.feed(*parsed);
        const auto& selection = chooser_.selection();
        if (selection && selection->video && selection->video->pid == parsed->pid &&
            parsed->payload_unit_start) {
            ++pictures_;
        }
    }
    sender_.add(packet.bytes);
}

/// Receivers that hear nothing for long give up.
void StreamOut::keep_waiting(SteadyTime now) {
    if (now - kept_waiting_at_ < filler_interval) {
        return;
    }
    kept_waiting_at_ = now;
    sender_.end_datagram();
    put_tables();
    for (std::size_t sent = tables_.bytes().size() / ts_packet_size;
         sent < DatagramSender::packets_per_datagram; ++sent) {
        sender_.add(null_packet());
    }
    sender_.end_datagram();
    sender_.flush(rtp_time(now));
}

std::uint32_t StreamOut::rtp_time(SteadyTime now) const {
    return static_cast<std::uint32_t>(std::chrono::duration_cast<Ticks>(now.time_since_epoch()).count());
}

} // namespace velmora
