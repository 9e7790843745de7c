#include "ts/stream_selection.h"

namespace velmora {

namespace {

/// How many packets to wait for a programme that stands earlier in the tables (about 1 MB).
constexpr std::uint64_t patience = 5000;
/// So much sound without any picture: the video that the tables announce is not sent.
constexpr int audio_units_without_video = 24;

} // namespace

StreamSelection select_streams(const Programme& programme) {
    StreamSelection selection;
    selection.programme = programme.number;
    for (const ElementaryStream& stream : programme.streams) {
        auto* const place = stream.kind == StreamKind::video   ? &selection.video
                            : stream.kind == StreamKind::audio ? &selection.audio
                            : stream.kind == StreamKind::data  ? &selection.data
                                                               : nullptr;
        if (place != nullptr && !place->has_value()) {
            *place = stream;
        }
    }
    return selection;
}

bool ProgrammeChooser::feed(const TsPacket& packet) {
    if (packet.pid == null_packet_pid) {
        return false;
    }
    if (tables_.feed(packet)) {
        packets_ = 0;
        units_.clear();
        is_confirmed_ = false;
        return selection_ && follow_tables();
    }
    if (is_confirmed_) {
        return false;
    }
    ++packets_;
    if (packet.payload_unit_start) {
        ++units_[packet.pid];
    }
    return (packet.payload_unit_start || packets_ == patience) && choose_among_seen();
}

bool ProgrammeChooser::restart(const StreamSelection* selection) {
    tables_.restart();
    return selection != nullptr && adopt(*selection);
}

int ProgrammeChooser::units_seen(const std::optional<ElementaryStream>& stream) const {
    const auto count = stream ? units_.find(stream->pid) : units_.end();
    return count == units_.end() ? 0 : count->second;
}

bool ProgrammeChooser::adopt(const StreamSelection& selection) {
    if (selection_ == selection) {
        return false;
    }
    selection_ = selection;
    return true;
}

bool ProgrammeChooser::choose_among_seen() {
    const bool may_wait = packets_ < patience;
    if (may_wait && !tables_.complete()) {
        return false;
    }
    for (const Programme& programme : tables_.programmes()) {
        StreamSelection candidate = select_streams(programme);
        if (!candidate.is_playable()) {
            continue;
        }
        const int video_units = units_seen(candidate.video);
        const int audio_units = units_seen(candidate.audio);
        if (video_units + audio_units > 0) {
            if (video_units == 0 && audio_units >= audio_units_without_video) {
                candidate.video.reset();
            }
            is_confirmed_ = units_seen(candidate.leading()) > 0;
            return adopt(candidate);
        }
        if (may_wait) {
            return false;
        }
    }
    return false;
}

bool ProgrammeChooser::follow_tables() {
    if (tables_.awaits(selection_->programme)) {
        return false;
    }
    std::optional<StreamSelection> first_playable;
    for (const Programme& programme : tables_.programmes()) {
        const StreamSelection candidate = select_streams(programme);
        if (!candidate.is_playable()) {
            continue;
        }
        if (candidate.programme == selection_->programme) {
            is_confirmed_ = true;
            return adopt(candidate);
        }
        if (!first_playable) {
            first_playable = candidate;
        }
    }
    return first_playable && adopt(*first_playable);
}

} // namespace velmora
