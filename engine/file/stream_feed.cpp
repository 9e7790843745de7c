#include "file/stream_feed.h"

#include <utility>

namespace velmora {

namespace {

constexpr std::size_t read_block_size = std::size_t{128} << 10U;

} // namespace

StreamFeed::StreamFeed(std::shared_ptr<const FileSource> source)
    : reader_{std::move(source), read_block_size} {}

bool StreamFeed::read_more() {
    if (at_end_) {
        return false;
    }
    const std::uint64_t offset = reader_.offset();
    const bool may_grow = may_grow_ && may_grow_();
    const auto feed = [this](const TsPacket& packet) {
        demuxer_.feed(packet);
        take_events();
    };
    const bool goes_on = reader_.read_block(feed, may_grow);
    if (!goes_on && may_grow) {
        return reader_.offset() > offset;
    }
    if (!goes_on) {
        demuxer_.finish();
        take_events();
        at_end_ = true;
    }
    return true;
}

void StreamFeed::seek(const std::optional<AccessPoint>& point) {
    demuxer_.restart(point ? point->streams.get() : nullptr);
    take_events();
    meter_.restart();
    video_.clear();
    sound_.clear();
    sound_expected_.reset();
    waiting_bytes_ = 0;
    at_end_ = false;
    if (point) {
        reader_.seek(point->offset);
        timeline_ = StreamTimeline{point->anchor};
    } else {
        reader_.seek(0);
        timeline_ = StreamTimeline{};
    }
}

std::optional<QueuedVideo> StreamFeed::take_video() {
    if (video_.empty()) {
        return std::nullopt;
    }
    std::optional<QueuedVideo> unit{std::move(video_.front())};
    video_.pop_front();
    waiting_bytes_ -= unit->unit.bytes.size();
    return unit;
}

std::optional<QueuedSound> StreamFeed::take_sound() {
    if (sound_.empty()) {
        return std::nullopt;
    }
    std::optional<QueuedSound> unit{std::move(sound_.front())};
    sound_.pop_front();
    waiting_bytes_ -= unit->bytes.size();
    return unit;
}

void StreamFeed::take_events() {
    while (auto event = demuxer_.next()) {
        if (const auto* const changed = std::get_if<StreamsChanged>(&*event)) {
            take_selection(changed->selection);
        } else {
            take_pes(std::get<DemuxedPes>(*event));
        }
    }
}

void StreamFeed::take_selection(const StreamSelection& selection) {
    if (selection.video && selection.video != current_.video) {
        video_stream_ = {video_stream_.serial + 1, selection.video->codec, 0};
    }
    if (selection.audio && selection.audio != current_.audio) {
        audio_stream_ = {audio_stream_.serial + 1, selection.audio->codec,
                         selection.audio->opus_channel_config};
    }
    current_ = selection;
}

void StreamFeed::take_pes(DemuxedPes& event) {
    const PesHeader& header = event.pes.header;
    const bool is_leading = event.pes.pid == current_.leading().pid;
    std::optional<StreamTimeline::Mapped> mapped;
    if (is_leading && header.pts) {
        mapped = timeline_.map_leading(*header.pts, *header.dts, event.discontinuity_indicated);
        meter_.add(mapped->decode, event.pes.offset);
    }
    if (event.kind == StreamKind::data) {
        ++data_units_;
        return;
    }
    waiting_bytes_ += event.pes.bytes.size();
    if (event.kind == StreamKind::video) {
        QueuedVideo video{video_stream_, {std::move(event.pes.bytes), header.size, {}, {}}, false};
        if (mapped) {
            video.unit.presentation = mapped->presentation;
            video.unit.decode = mapped->decode;
            video.begins_piece = mapped->begins_piece;
        }
        video_.push_back(std::move(video));
        return;
    }
    QueuedSound sound{audio_stream_, std::move(event.pes.bytes), header.size, {}};
    if (mapped) {
        sound.position = mapped->presentation;
    } else if (header.pts) {
        sound.position = timeline_.map_other(*header.pts, sound_expected_);
    }
    sound_expected_ = sound.position ? sound.position : sound_expected_;
    sound_.push_back(std::move(sound));
}

} // namespace velmora
