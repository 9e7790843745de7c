#include "ts/demuxer.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace velmora {

namespace {

/// What tells a packet that is sent twice from another one with its counter.
std::uint64_t tail_of(const TsPacket& packet) {
    std::uint64_t tail = 0;
    std::memcpy(&tail, packet.bytes.last<sizeof tail>().data(), sizeof tail);
    return tail;
}

} // namespace

void Demuxer::feed(const TsPacket& packet) {
    if (packet.transport_error) {
        return;
    }
    scrambling_.feed(packet);
    if (chooser_.feed(packet)) {
        select();
    }
    Track* const track = track_of(packet.pid);
    if (track == nullptr) {
        return;
    }
    Continuity continuity = continuity_.check(packet);
    const std::uint64_t last_tail =
        std::exchange(track->last_tail, packet.payload.empty() ? track->last_tail : tail_of(packet));
    if (continuity == Continuity::duplicate) {
        if (last_tail == track->last_tail) {
            return;
        }
        continuity = Continuity::broken; // as many are missing as the counter has steps
    }
    if (continuity == Continuity::broken) {
        ++continuity_errors_;
    }
    discontinuity_indicated_ = discontinuity_indicated_ || packet.discontinuity;
    if (packet.discontinuity && !packet.has_payload) {
        track->assembler.restart(); // the unit in progress will not be completed
    }
    track->is_broken = track->is_broken || continuity != Continuity::in_order;
    if (packet.payload.empty()) {
        return;
    }
    if (packet.scrambled) {
        track->assembler.restart();
        track->was_scrambled = true;
        return;
    }
    emit(*track, track->assembler.feed(packet, std::exchange(track->is_broken, false)));
}

std::optional<DemuxEvent> Demuxer::next() {
    if (events_.empty()) {
        return std::nullopt;
    }
    std::optional<DemuxEvent> event{std::move(events_.front())};
    events_.pop_front();
    return event;
}

void Demuxer::finish() {
    for (Track& track : tracks_) {
        emit(track, track.assembler.finish());
    }
}

std::span<const std::uint8_t> Demuxer::video_in_progress() const {
    const auto video = std::ranges::find(tracks_, StreamKind::video, &Track::kind);
    return video == tracks_.end() ? std::span<const std::uint8_t>{} : video->assembler.payload_in_progress();
}

bool Demuxer::is_scrambled() const {
    const auto wanted = chooser_.wanted();
    return std::ranges::any_of(wanted, [this](std::uint16_t pid) { return scrambling_.is_scrambled(pid); });
}

void Demuxer::restart(const StreamSelection* selection) {
    scrambling_.restart();
    continuity_.restart();
    for (Track& track : tracks_) {
        track.assembler.restart();
    }
    events_.clear();
    discontinuity_indicated_ = false;
    if (chooser_.restart(selection)) {
        select();
    }
}

void Demuxer::select() {
    finish();
    tracks_.clear();
    const StreamSelection& selection = *chooser_.selection();
    for (const auto& stream : {selection.video, selection.audio, selection.data}) {
        if (stream) {
            Track& track = tracks_.emplace_back(Track{stream->kind, stream->pid});
            if (is_early_) {
                track.assembler.hand_out_early();
            }
            if (stream->kind == StreamKind::video) {
                track.assembler.doubt_lengths();
            }
        }
    }
    events_.emplace_back(StreamsChanged{selection, chooser_.clock_pid()});
}

void Demuxer::emit(Track& track, std::optional<PesPacket> pes) {
    if (pes) {
        const bool is_leading = &track == &tracks_.front();
        const bool indicated = is_leading && std::exchange(discontinuity_indicated_, false);
        const bool was_scrambled = std::exchange(track.was_scrambled, false);
        events_.emplace_back(DemuxedPes{track.kind, indicated, was_scrambled, std::move(*pes)});
    }
}

Demuxer::Track* Demuxer::track_of(std::uint16_t pid) {
    const auto track = std::ranges::find(tracks_, pid, &Track::pid);
    return track == tracks_.end() ? nullptr : &*track;
}

} // namespace velmora
