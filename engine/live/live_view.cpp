#include "live/live_view.h"

#include "decode/picture_classifier.h"
#include "diagnostics/log.h"
#include "ts/access_point.h"

#include <algorithm>
#include <exception>
#include <span>
#include <string>
#include <utility>

namespace velmora {

namespace {

using namespace std::chrono_literals;

constexpr std::size_t sound_queue_depth = 48;
/// What may wait to be taken apart, and to be decoded, bytes.
constexpr std::size_t most_block_bytes = std::size_t{16} << 20U;
constexpr std::size_t most_pending_bytes = std::size_t{32} << 20U;
constexpr std::size_t most_kept_bytes = std::size_t{32} << 20U;
/// A device fetches sound so much before it is heard.
constexpr auto sound_lead = 60ms;
/// Sound that comes later than this after its pictures is not waited for.
constexpr auto latest_sound = 1s;
/// Pictures that are shown late by less are not left out.
constexpr auto patience = 500ms;
/// Figures of what comes no more are none: two of the seconds that they are taken over.
constexpr auto figures_hold = 2s;

bool is_access_point(const QueuedVideo& video) {
    const auto payload = std::span{video.unit.bytes}.subspan(video.unit.payload_start);
    return find_access_point(video.stream.codec, payload, true).verdict == AccessPointVerdict::point;
}

/// A clock by which position 0 is due at `origin`.
void anchor_at_origin(SharedPlayClock& clock, SteadyTime origin) {
    clock.anchor(Position{}, 1.0, origin);
}

} // namespace

LiveView::LiveView(std::chrono::milliseconds sync_delay, SignalWatch::Source source, TimeSource& time,
                   MessageBoard& messages, Hooks hooks)
    : time_{time}, hooks_{std::move(hooks)}, sync_delay_{sync_delay},
      sounds_{std::make_shared<SoundQueue>(sound_queue_depth)}, video_{time}, clock_{sync_delay},
      slow_decoding_{messages, "live"}, signal_{messages, std::move(source), time_.now()} {
    units_.hand_out_early();
    units_.name_unknown_streams();
    units_.set_data_sink([this](const UnitSorter::DataUnit& unit) { take_data(unit); });
    video_.decode_without_delay();
    if (sync_delay == 0ms) {
        video_.preview_first([this](Picture picture) { offer_preview(std::move(picture)); });
    }
    pictures_->patience = patience;
    pictures_->picture_lasts = false; // what was live is not any more
    pictures_->on_shown = [this](const Picture& picture) { picture_shown(picture); };
    pictures_->pictures.set_on_room([this] { wake(); });
    sounds_->set_on_room([this] { wake(); });
    thread_ = Worker{time, [this](const std::stop_token& stop) { run(stop); }};
}

LiveView::~LiveView() {
    thread_.end();
    // Whoever takes from the queues may do so a moment longer.
    pictures_->pictures.set_on_room(nullptr);
    sounds_->set_on_room(nullptr);
}

void LiveView::feed(SharedBlock block) {
    {
        const std::lock_guard lock{mutex_};
        block_bytes_ += block->bytes.size();
        blocks_.push_back(std::move(block));
        if (block_bytes_ > most_block_bytes) {
            blocks_.clear();
            block_bytes_ = 0;
            blocks_dropped_ = true;
        }
    }
    wake();
}

void LiveView::set_shown(bool shown) {
    {
        const std::lock_guard lock{mutex_};
        shown_wanted_ = shown;
    }
    wake();
}

void LiveView::run(const std::stop_token& stop) {
    while (!stop.stop_requested()) {
        try {
            take_blocks();
            while (!stop.stop_requested() && work()) {
                take_blocks();
            }
            update_facts();
        } catch (const std::exception& error) {
            log_incident("live", "view", std::string{"a part of the stream was left out: "} + error.what());
            drop_to_access_point();
        }
        watch_signal();
        changed_->wait(stop, is_shown_ ? time_.now() + SignalWatch::interval : SteadyTime::max());
    }
}

void LiveView::take_blocks() {
    std::deque<SharedBlock> blocks;
    bool were_dropped = false;
    bool shown = false;
    {
        const std::lock_guard lock{mutex_};
        shown = shown_wanted_;
        blocks.swap(blocks_);
        block_bytes_ = 0;
        were_dropped = std::exchange(blocks_dropped_, false);
    }
    follow_shown(shown); // first: what came since it is shown is live
    if (were_dropped) {
        log_incident("live", "overflow",
                     "the stream came faster than it can be taken apart, a part left out");
        drop_to_access_point();
    }
    for (const SharedBlock& block : blocks) {
        take_apart(*block);
    }
}

void LiveView::take_apart(const PacketBlock& block) {
    const std::span<const std::uint8_t> bytes{block.bytes};
    for (std::size_t at = 0; at + ts_packet_size <= bytes.size(); at += ts_packet_size) {
        if (const auto packet =
                parse_ts_packet(bytes.subspan(at).first<ts_packet_size>(), stream_offset_ + at)) {
            units_.feed(*packet);
        }
        if (const auto clock = units_.take_clock()) {
            clock_.note_promise(*clock, block.arrived);
        }
    }
    stream_offset_ += bytes.size();
    SignalWatch::note_data(sight_, block.arrived);
    while (auto video = units_.take_video()) {
        looked_ahead_ = false;
        last_video_ = block.arrived;
        keep(*video);
        if (is_shown_) {
            pending_bytes_ += video->unit.bytes.size();
            pending_video_.push_back({std::move(*video), block.arrived});
        }
    }
    while (auto sound = units_.take_sound()) {
        last_sound_ = block.arrived;
        if (is_shown_) {
            pending_bytes_ += sound->bytes.size();
            pending_sound_.push_back({std::move(*sound), block.arrived});
        }
    }
    look_ahead(block.arrived);
    bound_pending();
}

/// A decoder gives the last pictures of a group out only with the next key picture, which is long on its way:
/// its first bytes tell enough.
void LiveView::look_ahead(SteadyTime arrived) {
    const auto& selection = units_.selection();
    if (is_shown_ && !looked_ahead_ && selection && selection->video &&
        begins_anew(selection->video->codec, units_.video_in_progress())) {
        looked_ahead_ = true;
        pending_video_.push_back({std::nullopt, arrived});
    }
}

void LiveView::keep(const QueuedVideo& video) {
    if (is_access_point(video)) {
        kept_.clear();
        kept_bytes_ = 0;
    }
    kept_bytes_ += video.unit.bytes.size();
    kept_.push_back(video);
    if (kept_bytes_ > most_kept_bytes) {
        // Without its beginning the rest is of no use: what comes next begins at an access point.
        kept_.clear();
        kept_bytes_ = 0;
    }
}

void LiveView::take_data(const UnitSorter::DataUnit& unit) {
    {
        const std::lock_guard lock{mutex_};
        data_meter_.add(unit.bytes.size(), time_.now());
    }
    if (hooks_.on_data) {
        hooks_.on_data(unit);
    }
}

void LiveView::bound_pending() {
    if (pending_bytes_ > most_pending_bytes) {
        log_incident("live", "overflow", "the stream comes faster than it is decoded, a part left out");
        drop_to_access_point();
    }
}

/// What waits is dropped; decoding goes on at the next access point.
void LiveView::drop_to_access_point() {
    units_.clear();
    pending_video_.clear();
    pending_sound_.clear();
    pending_bytes_ = 0;
    begin_again(Position::min());
}

void LiveView::begin_again(Position wanted_from) {
    video_.restart(wanted_from);
    sound_.restart(wanted_from);
    was_full_ = false;
}

/// Ends what was shown, or brings up the latest picture by what was kept for it.
void LiveView::follow_shown(bool shown) {
    if (shown == std::exchange(is_shown_, shown)) {
        return;
    }
    pictures_->clock.hold({});
    pictures_->pictures.clear();
    {
        const std::lock_guard lock{mutex_};
        last_shown_.reset(); // it is on the screen no more, or not yet
    }
    sounds_->clear();
    hooks_.discard_sound();
    clock_.restart();
    sound_readiness_.restart();
    offered_ = false;
    pending_video_.clear();
    pending_sound_.clear();
    pending_bytes_ = 0;
    Position latest = Position::min();
    if (shown && !kept_.empty()) {
        video_.preview_first(nullptr); // the access point that was kept is not live any more
        const VideoUnit& unit = kept_.back().unit;
        latest = unit.decode.value_or(unit.presentation.value_or(latest));
        for (const QueuedVideo& video : kept_) {
            pending_bytes_ += video.unit.bytes.size();
            pending_video_.push_back({video, time_.now()});
        }
    }
    begin_again(latest);
}

bool LiveView::work() {
    if (!is_shown_) {
        return false;
    }
    const bool pictures = offer_pictures() || decode_video();
    const bool sounds = offer_sounds() || decode_sound();
    return pictures || sounds;
}

bool LiveView::decode_video() {
    if (pending_video_.empty() || !video_.ready().empty()) {
        was_full_ = was_full_ && !pending_video_.empty();
        return false;
    }
    PendingVideo next = std::move(pending_video_.front());
    pending_video_.pop_front();
    pending_bytes_ -= std::min(pending_bytes_, next.bytes());
    keep_up(next.arrived);
    const SteadyTime begin = time_.now();
    if (next.unit) {
        video_.decode(std::move(*next.unit));
    } else {
        video_.bring_out();
    }
    const SteadyTime end = time_.now();
    was_full_ = was_full_ && !is_overdue(end);
    // What waited because enough was decoded already could have been ready earlier.
    ready_at_ = was_full_ ? std::min(end, std::max(next.arrived, ready_at_) + (end - begin)) : end;
    note_pictures(ready_at_);
    return true;
}

/// Whether the screen waits for pictures that were due before they were decoded.
bool LiveView::is_overdue(SteadyTime decoded) const {
    if (video_.ready().empty() || !pictures_->pictures.empty()) {
        return false;
    }
    return pictures_->clock.snapshot().due(video_.ready().front().position) < decoded;
}

/// Leaves out what nothing refers to while decoding is late, and everything up to an access point when that
/// does not help.
void LiveView::keep_up(SteadyTime arrived) {
    const SteadyTime now = time_.now();
    if (!offered_ || was_full_) {
        late_decoding_.reset(); // it waits for the stream or for room, not for decoding
    } else {
        late_decoding_.observe(now - arrived, now);
    }
    slow_decoding_.note(late_decoding_.leaves_out() || late_decoding_.is_lost(), now);
    video_.set_skip(late_decoding_.leaves_out() ? AVDISCARD_NONREF : AVDISCARD_DEFAULT);
    if (!late_decoding_.is_lost()) {
        return;
    }
    const auto point =
        std::find_if(pending_video_.rbegin(), pending_video_.rend(), [](const PendingVideo& pending) {
            return pending.unit && is_access_point(*pending.unit);
        });
    if (point != pending_video_.rend()) {
        log_incident("live", "late", "decoding does not keep up, went on at a later access point");
        const auto first = std::prev(point.base());
        std::for_each(pending_video_.begin(), first, [this](const PendingVideo& pending) {
            pending_bytes_ -= std::min(pending_bytes_, pending.bytes());
        });
        pending_video_.erase(pending_video_.begin(), first);
        video_.restart(Position::min());
    }
}

void LiveView::note_pictures(SteadyTime ready) {
    bool has_changed = false;
    for (const Picture& picture : video_.ready()) {
        // Where every picture is one, a key picture is no larger than others.
        const bool is_key = picture.frame->key_frame != 0;
        const bool follows_key = std::exchange(last_was_key_, is_key);
        const auto kind = is_key && !follows_key ? JitterClock::Kind::key : JitterClock::Kind::other;
        has_changed = clock_.note(picture.position, ready, kind) || has_changed;
    }
    if (has_changed) {
        anchor_at_origin(pictures_->clock, *clock_.origin());
        set_sound_clock();
        hooks_.clock_changed();
    }
}

/// The very first picture is shown as soon as it is decoded, not only when its turn among those is that it
/// waits for.
void LiveView::offer_preview(Picture picture) {
    if (!offered_) {
        picture.generation = pictures_->clock.generation();
        pictures_->pictures.try_push(std::move(picture));
    }
}

bool LiveView::offer_pictures() {
    auto& ready = video_.ready();
    bool offered = false;
    while (!ready.empty()) {
        Picture& picture = ready.front();
        picture.generation = pictures_->clock.generation();
        picture.begins_run = !offered_;
        if (!pictures_->pictures.try_push(std::move(picture))) {
            was_full_ = true;
            break;
        }
        ready.pop_front();
        offered_ = true;
        offered = true;
    }
    return offered;
}

bool LiveView::decode_sound() {
    if (pending_sound_.empty() || !sound_.ready().empty()) {
        return false;
    }
    PendingSound next = std::move(pending_sound_.front());
    pending_sound_.pop_front();
    pending_bytes_ -= std::min(pending_bytes_, next.unit.bytes.size());
    sound_.decode(std::move(next.unit));
    if (!sound_.ready().empty()) {
        note_sound(sound_.ready().front(), next.arrived);
    }
    return true;
}

void LiveView::note_sound(const SoundFrame& sound, SteadyTime ready) {
    sound_readiness_.note(sound.position, ready + sound_lead);
    set_sound_clock();
}

/// Pictures never wait for sound. Sound waits for pictures, and where it comes later than they, it is heard
/// later.
void LiveView::set_sound_clock() {
    auto origin = clock_.origin();
    if (const auto readiness = sound_readiness_.origin()) {
        if (!origin) {
            origin = *readiness + sync_delay_;
        } else if (*readiness - *origin < latest_sound) {
            origin = std::max(*origin, *readiness);
        }
    }
    if (origin && origin != sound_origin_) {
        sound_origin_ = origin;
        anchor_at_origin(*sound_clock_, *origin);
    }
}

bool LiveView::offer_sounds() {
    auto& ready = sound_.ready();
    bool offered = false;
    while (!ready.empty() && sounds_->try_push(std::move(ready.front()))) {
        ready.pop_front();
        offered = true;
    }
    return offered;
}

void LiveView::update_facts() {
    const auto& selection = units_.selection();
    const bool has_video = selection && selection->video;
    const std::lock_guard lock{mutex_};
    facts_.frame_rate = has_video ? units_.meter().units_per_second() : 0;
    facts_.video_codec = has_video ? selection->video->codec : AV_CODEC_ID_NONE;
    const bool has_sound = selection && selection->audio;
    facts_.audio_codec = has_sound ? selection->audio->codec : AV_CODEC_ID_NONE;
    facts_.sample_rate = facts_.audio_bitrate = facts_.channels = facts_.bits_per_sample = 0;
    if (has_sound) {
        sound_.report(facts_); // the tables do not tell the layer of MPEG sound, its decoder does
    }
    facts_.data_codec = selection && selection->data ? selection->data->codec : AV_CODEC_ID_NONE;
    counters_.decoded_pictures += video_.take_decoded();
    counters_.errors = video_.errors() + sound_.errors() + units_.continuity_errors();
    counters_.data_units = units_.data_units();
    if (!has_shown_) {
        baseline_.errors = counters_.errors;
    }
    video_seen_ = last_video_;
    sound_seen_ = last_sound_;
}

/// What stands on the screen is marked where it is not live any more.
void LiveView::watch_signal() {
    const SteadyTime now = time_.now();
    if (!is_shown_) {
        slow_decoding_.withdraw();
        signal_.rest(now);
        return;
    }
    slow_decoding_.note(false, now);
    using enum SignalWatch::Content;
    const auto& selection = units_.selection();
    sight_.content = !selection ? unknown : (selection->video ? video : no_video);
    sight_.is_scrambled = units_.is_scrambled();
    const auto per_second = units_.meter().units_per_second();
    sight_.picture_interval = per_second > 0 ? std::chrono::nanoseconds{1s} / per_second : 0ns;
    {
        const std::lock_guard lock{mutex_};
        sight_.last_picture = last_shown_;
    }
    signal_.look(sight_, now);
    const std::lock_guard lock{mutex_};
    shows_old_ = signal_.complains();
}

void LiveView::picture_shown(const Picture& picture) {
    const std::lock_guard lock{mutex_};
    facts_.picture = square_pixel_size(*picture.frame);
    counters_.shown_pictures += picture.is_preview ? 0 : 1;
    has_shown_ = true;
    last_shown_ = time_.now();
    if (std::exchange(shows_old_, false)) {
        wake();
    }
}

StreamReport LiveView::report() {
    const std::lock_guard lock{mutex_};
    const SteadyTime now = time_.now();
    facts_.data_bitrate = data_meter_.kilobits_per_second(now);
    StreamFacts facts = facts_;
    if (now - video_seen_ > figures_hold) {
        facts.frame_rate = 0;
    }
    if (now - sound_seen_ > figures_hold) {
        facts.audio_bitrate = 0;
    }
    return {facts, counters_ - baseline_};
}

void LiveView::reset_counters() {
    const std::lock_guard lock{mutex_};
    baseline_ = counters_;
}

} // namespace velmora
