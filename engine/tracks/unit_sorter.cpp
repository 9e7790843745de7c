#include "tracks/unit_sorter.h"

#include "diagnostics/log.h"
#include "ts/clock_reference.h"

#include <array>
#include <cstdio>
#include <string>
#include <utility>

namespace velmora {

void UnitSorter::name_unknown_streams() {
    demuxer_.tell_of_unknown([](const ElementaryStream& stream) {
        std::array<char, 64> text{};
        std::snprintf(text.data(), text.size(), "stream type 0x%02x on PID 0x%x is not known, left out",
                      static_cast<unsigned>(stream.type), static_cast<unsigned>(stream.pid));
        const std::string kind = "stream " + std::to_string(stream.pid); // each has its line
        log_incident("stream", kind, text.data());
    });
}

void UnitSorter::feed(const TsPacket& packet) {
    if (packet.pid == clock_pid_) {
        take_clock_reference(packet);
    }
    demuxer_.feed(packet);
    take_events();
}

void UnitSorter::take_clock_reference(const TsPacket& packet) {
    if (const auto reference = clock_reference(packet)) {
        clock_ = timeline_.map_other(*reference, std::nullopt);
    }
}

void UnitSorter::finish() {
    demuxer_.finish();
    take_events();
}

void UnitSorter::restart(const StreamSelection* selection, const StreamTimeline& timeline) {
    demuxer_.restart(selection);
    take_events();
    meter_.restart();
    clear();
    data_.restart();
    sound_expected_.reset();
    timeline_ = timeline;
}

void UnitSorter::clear() {
    video_.clear();
    sound_.clear();
    waiting_bytes_ = 0;
}

std::optional<QueuedVideo> UnitSorter::take_video() {
    if (video_.empty()) {
        return std::nullopt;
    }
    std::optional<QueuedVideo> unit{std::move(video_.front())};
    video_.pop_front();
    waiting_bytes_ -= unit->unit.bytes.size();
    return unit;
}

std::optional<QueuedSound> UnitSorter::take_sound() {
    if (sound_.empty()) {
        return std::nullopt;
    }
    std::optional<QueuedSound> unit{std::move(sound_.front())};
    sound_.pop_front();
    waiting_bytes_ -= unit->bytes.size();
    return unit;
}

void UnitSorter::take_events() {
    while (auto event = demuxer_.next()) {
        if (const auto* const changed = std::get_if<StreamsChanged>(&*event)) {
            take_selection(changed->selection);
            clock_pid_ = changed->clock_pid;
        } else {
            take_pes(std::get<DemuxedPes>(*event));
        }
    }
}

void UnitSorter::take_selection(const StreamSelection& selection) {
    if (selection.video && selection.video != current_.video) {
        video_stream_ = {video_stream_.serial + 1, selection.video->codec, 0};
    }
    if (selection.audio && selection.audio != current_.audio) {
        audio_stream_ = {audio_stream_.serial + 1, selection.audio->codec,
                         selection.audio->opus_channel_config};
    }
    if (selection.data != current_.data) {
        data_ = DataUnits{};
    }
    current_ = selection;
}

void UnitSorter::take_pes(DemuxedPes& event) {
    const PesHeader& header = event.pes.header;
    const bool is_leading = event.pes.pid == current_.leading().pid;
    std::optional<StreamTimeline::Mapped> mapped;
    if (is_leading && header.pts) {
        mapped = timeline_.map_leading(*header.pts, *header.dts, event.discontinuity_indicated);
        meter_.add(mapped->decode, event.pes.offset);
    }
    if (event.kind == StreamKind::data) {
        take_data(event.pes);
        return;
    }
    waiting_bytes_ += event.pes.bytes.size();
    if (event.kind == StreamKind::video) {
        QueuedVideo video{video_stream_, {std::move(event.pes.bytes), header.size, {}, {}}};
        video.follows_loss = event.pes.discontinuity;
        video.lacks_references = event.follows_scrambled;
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

void UnitSorter::take_data(const PesPacket& pes) {
    std::optional<Position> position;
    const auto& beside = timeline_.anchor();
    if (pes.header.pts) {
        position = timeline_.map_other(*pes.header.pts, std::nullopt);
    }
    if (!position && beside) {
        position = beside->position;
    }
    data_.feed(pes, data_carriage(*current_.data), [&](std::span<const std::uint8_t> unit) {
        ++data_units_;
        if (data_sink_) {
            data_sink_({unit, position.value_or(Position{})});
        }
    });
}

} // namespace velmora
