#include "ts/stream_selection.h"

#include "ts/access_point.h"
#include "ts/pes.h"
#include "ts/undescribed_video.h"

#include <algorithm>
#include <utility>

namespace velmora {

namespace {

/// How many packets to wait for a programme that stands earlier in the tables (about 1 MB).
constexpr std::uint64_t patience = 5000;
/// So much sound without any picture: the video that the tables announce is not sent.
constexpr int audio_units_without_video = 24;

/// What stands in front of a picture that is none of these tells itself within a packet.
bool begins_key_picture(AVCodecID codec, const TsPacket& packet) {
    const auto header = parse_pes_header(packet.payload);
    return packet.random_access ||
           (header && find_access_point(codec, packet.payload.subspan(header->size), false).verdict !=
                          AccessPointVerdict::none);
}

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
        if (on_unknown_) {
            tell_of_unknown_in_tables();
        }
        packets_ = 0;
        units_.clear();
        scrambled_.clear();
        is_confirmed_ = false;
        with_video_.reset();
        return (selection_ && follow_tables()) || choose_data();
    }
    const bool begins_unit = packet.payload_unit_start && !packet.scrambled;
    if (begins_unit && recognise(packet) && selection_) {
        return follow_tables();
    }
    if (is_confirmed_) {
        return begins_unit && with_video_ && with_video_->video->pid == packet.pid &&
               adopt(*std::exchange(with_video_, std::nullopt));
    }
    ++packets_;
    if (packet.scrambled) {
        scrambled_.insert(packet.pid);
    }
    if (begins_unit) {
        ++units_[packet.pid];
    }
    const bool may_wait = packets_ < patience && !(takes_first_there_ && begins_unit && is_there(packet));
    return (begins_unit || packets_ == patience) && choose_among_seen(may_wait);
}

/// As the tables and what was recognised beside them tell.
std::vector<Programme> ProgrammeChooser::programmes() const {
    std::vector<Programme> programmes = tables_.programmes();
    for (Programme& programme : programmes) {
        for (ElementaryStream& stream : programme.streams) {
            const auto video = recognised_.find(stream.pid);
            if (video != recognised_.end() && is_undescribed(stream)) {
                stream.kind = StreamKind::video;
                stream.codec = video->second;
            }
        }
    }
    return programmes;
}

/// @return true when the packet shows that its stream is video, which the tables do not tell
bool ProgrammeChooser::recognise(const TsPacket& packet) {
    const AVCodecID codec = recognised_.contains(packet.pid) ? AV_CODEC_ID_NONE : recognise_video(packet);
    if (codec == AV_CODEC_ID_NONE) {
        return false;
    }
    const auto known = tables_.programmes();
    const bool is_new = std::ranges::any_of(known, [&](const Programme& programme) {
        return std::ranges::any_of(programme.streams, [&](const ElementaryStream& stream) {
            return stream.pid == packet.pid && is_undescribed(stream);
        });
    });
    return is_new && recognised_.emplace(packet.pid, codec).second;
}

/// Whether a programme's key picture begins here, or sound of one that has nothing else has come for a while.
bool ProgrammeChooser::is_there(const TsPacket& packet) const {
    for (const Programme& programme : programmes()) {
        const StreamSelection candidate = select_streams(programme);
        if (!candidate.is_playable() || candidate.leading().pid != packet.pid) {
            continue;
        }
        return candidate.video ? begins_key_picture(candidate.video->codec, packet)
                               : units_seen(candidate.audio) >= audio_units_without_video / 2;
    }
    return false;
}

bool ProgrammeChooser::has_waited() const {
    return selection_ && units_seen(selection_->video) + units_seen(selection_->audio) > 1;
}

void ProgrammeChooser::tell_of_unknown_in_tables() {
    for (const Programme& programme : programmes()) {
        for (const ElementaryStream& stream : programme.streams) {
            if (may_be_playable(stream) && told_.insert({stream.pid, stream.type}).second) {
                on_unknown_(stream);
            }
        }
    }
}

bool ProgrammeChooser::restart(const StreamSelection* selection) {
    tables_.restart();
    if (selection != nullptr && selection->video && selection->video->codec == AV_CODEC_ID_H263) {
        recognised_.emplace(selection->video->pid, AV_CODEC_ID_H263);
    }
    return selection != nullptr && adopt(*selection);
}

std::optional<std::uint16_t> ProgrammeChooser::clock_pid() const {
    const auto all = programmes();
    const auto selected = std::ranges::find_if(all, [this](const Programme& programme) {
        return selection_ && programme.number == selection_->programme;
    });
    return selected != all.end() && selected->pcr_pid != null_packet_pid ? std::optional{selected->pcr_pid}
                                                                         : std::nullopt;
}

std::vector<std::uint16_t> ProgrammeChooser::wanted() const {
    if (const auto& played = with_video_ ? with_video_ : selection_) {
        return {played->leading().pid};
    }
    std::vector<std::uint16_t> pids;
    for (const Programme& programme : programmes()) {
        if (const StreamSelection candidate = select_streams(programme); candidate.is_playable()) {
            pids.push_back(candidate.leading().pid);
        }
    }
    return pids;
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

bool ProgrammeChooser::choose_among_seen(bool may_wait) {
    if (may_wait && !tables_.complete()) {
        return false;
    }
    for (const Programme& programme : programmes()) {
        StreamSelection candidate = select_streams(programme);
        if (!candidate.is_playable()) {
            continue;
        }
        const int video_units = units_seen(candidate.video);
        const int audio_units = units_seen(candidate.audio);
        if (video_units + audio_units > 0) {
            const bool is_missing =
                candidate.video && video_units == 0 &&
                (audio_units >= audio_units_without_video || scrambled_.contains(candidate.video->pid));
            if (is_missing) {
                with_video_ = candidate;
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

/// Where no programme of all is playable.
bool ProgrammeChooser::choose_data() {
    if (!tables_.complete()) {
        return false;
    }
    std::optional<StreamSelection> first_with_data;
    for (const Programme& programme : programmes()) {
        const StreamSelection candidate = select_streams(programme);
        if (candidate.is_playable()) {
            return false;
        }
        if (!first_with_data && candidate.data) {
            first_with_data = candidate;
        }
    }
    return first_with_data && adopt(*first_with_data);
}

bool ProgrammeChooser::follow_tables() {
    if (tables_.awaits(selection_->programme)) {
        return false;
    }
    std::optional<StreamSelection> first_playable;
    for (const Programme& programme : programmes()) {
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
