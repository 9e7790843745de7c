#include "play/file_player.h"

#include "diagnostics/log.h"
#include "play/key_run.h"
#include "play/reverse_run.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <utility>

extern "C" {
#include <libavutil/imgutils.h>
}

namespace velmora {

namespace {

constexpr std::size_t sound_queue_depth = 48;
/// Pictures that are shown late by less are not left out.
constexpr auto patience = std::chrono::milliseconds{800};
/// Asks for the last picture, wherever that is.
constexpr Position the_end = Position::max();

std::size_t bytes_of(const AVFrame& frame) {
    const int bytes =
        av_image_get_buffer_size(static_cast<AVPixelFormat>(frame.format), frame.width, frame.height, 1);
    return bytes > 0 ? static_cast<std::size_t>(bytes) : 0;
}

} // namespace

FilePlayer::FilePlayer(Setup setup, Hooks hooks)
    : setup_{std::move(setup)}, hooks_{std::move(hooks)}, board_{setup_.latin1_path},
      pictures_{std::make_shared<PictureSource>()}, sounds_{std::make_shared<SoundQueue>(sound_queue_depth)},
      index_{std::make_shared<AccessPointIndex>()}, tempo_{setup_.tempo} {
    pictures_->recent = std::make_unique<RecentPictures>();
    pictures_->patience = patience;
    pictures_->on_shown = [this](const Picture& picture) { picture_shown(picture); };
    pictures_->on_delivered = [this](const Picture& picture) { picture_delivered(picture); };
    pictures_->pictures.set_on_room([this] { wake(); });
    sounds_->set_on_room([this] { wake(); });
}

FilePlayer::~FilePlayer() {
    stop();
    // Whoever takes from the queues may do so a moment longer.
    pictures_->pictures.set_on_room(nullptr);
    sounds_->set_on_room(nullptr);
}

RunOutlet FilePlayer::make_outlet() {
    return {.pictures = pictures_,
            .sounds = sounds_,
            .discard_sound = hooks_.discard_sound,
            .ready = [this] { set_readiness(Readiness::ready); },
            .sound_begins = [this](Position position) { sound_begins(position); },
            .nothing_beyond = [this](Position target) { rest(Rest::at_end, target); },
            .facts_changed = [this] { update_facts(); },
            .decoded = [this](std::uint64_t pictures) { count_decoded(pictures); }};
}

void FilePlayer::open() {
    source_ = std::make_shared<const FileSource>(setup_.latin1_path);
    points_ = std::make_unique<AccessPointFinder>(source_, index_);
    forward_ = std::make_unique<ForwardRun>(source_, *points_, make_outlet(), setup_.latin1_path,
                                            [index = index_] { return index->extent().growing; });
    forward_->set_data_sink(
        [this](const UnitSorter::DataUnit& unit) { data_.put(unit.position, unit.bytes); });
    auto tags = std::make_unique<TagList>(source_->path());
    const std::lock_guard lock{mutex_};
    tags_ = std::move(tags);
    if (tempo_.is_reverse() && !tempo_.is_paused()) {
        wanted_position_ = the_end;
    } else {
        forward_->begin_with_preview();
    }
    if (stop_.stop_requested()) {
        return;
    }
    scanner_ = std::make_unique<IndexScanner>(source_, index_, setup_.sidecar, [this] { wake(); });
    thread_ = std::jthread{[this] { run(stop_.get_token()); }};
}

bool FilePlayer::wait_ready() {
    std::unique_lock lock{mutex_};
    changed_.wait(lock, stop_.get_token(), [this] { return readiness_ != Readiness::pending; });
    return readiness_ == Readiness::ready && !stop_.stop_requested();
}

void FilePlayer::stop() {
    stop_.request_stop();
    std::jthread thread;
    std::unique_ptr<IndexScanner> scanner;
    {
        const std::lock_guard lock{mutex_};
        thread = std::move(thread_);
        scanner = std::move(scanner_);
    }
    changed_.notify_all();
}

void FilePlayer::seek(Position target) {
    {
        const std::lock_guard lock{mutex_};
        wanted_position_ = std::max(target, Position{});
    }
    wake();
}

void FilePlayer::set_tempo(Tempo tempo) {
    {
        const std::lock_guard lock{mutex_};
        if (tempo.is_paused()) {
            tempo.direction = tempo_.direction;
            // The picture on the screen stays, however long the present piece of work takes.
            pictures_->clock.set_rate(0.0, SteadyClock::now());
        }
        tempo_ = tempo;
        board_.update([&](PlaybackFacts& facts, StreamCounters&) { facts.tempo = tempo; });
    }
    hooks_.clock_changed();
    wake();
}

void FilePlayer::mark() {
    {
        const std::lock_guard lock{mutex_};
        if (!tags_ || !last_shown_) {
            return;
        }
        tags_->mark(static_cast<int>(
            std::chrono::duration_cast<std::chrono::seconds>(last_shown_->time_since_epoch()).count()));
    }
    wake();
}

std::optional<int> FilePlayer::tag(int index) const {
    const std::lock_guard lock{mutex_};
    return tags_ ? tags_->at(index) : std::nullopt;
}

bool FilePlayer::is_ready() const {
    const std::lock_guard lock{mutex_};
    return readiness_ == Readiness::ready;
}

PlayProgress FilePlayer::progress() const {
    const std::lock_guard lock{mutex_};
    const bool is_plain = run_begun_ && run_rate_ == 1.0 && tempo_.rate() == 1.0 && rest_ != Rest::at_start;
    return {is_plain, rest_ == Rest::at_end, pictures_->generation.load(), last_shown_.value_or(Position{})};
}

void FilePlayer::report(velmora_info_t& info) const {
    const Position position = pictures_->clock.snapshot().position(SteadyClock::now());
    const IndexExtent extent = index_->extent();
    board_.report(info, position, extent.likely_end().time_since_epoch());
    info.player_info.is_recording = extent.growing ? 1 : 0;
    const std::lock_guard lock{mutex_};
    info.get_strm_info.d_bitrate = data_meter_.kilobits_per_second(SteadyClock::now());
}

void FilePlayer::wake() {
    {
        const std::lock_guard lock{mutex_};
        woken_ = true;
    }
    changed_.notify_all();
}

void FilePlayer::set_readiness(Readiness readiness) {
    {
        const std::lock_guard lock{mutex_};
        if (readiness_ != Readiness::pending) {
            return;
        }
        readiness_ = readiness;
        board_.update([&](PlaybackFacts& facts, StreamCounters&) {
            facts.running = readiness == Readiness::ready;
            facts.tempo = tempo_;
        });
    }
    changed_.notify_all();
}

void FilePlayer::picture_shown(const Picture& picture) {
    {
        const std::lock_guard lock{mutex_};
        if (picture.generation != pictures_->generation.load()) {
            return;
        }
        if (picture.begins_run) {
            pictures_->clock.anchor(picture.position, tempo_.is_paused() ? 0.0 : run_rate_,
                                    SteadyClock::now());
            run_begun_ = true;
            expect_groups_around(picture.position);
        }
        last_shown_ = picture.position;
        if (!picture.whole_size) {
            shown_bytes_ = bytes_of(*picture.frame);
            shown_size_ = square_pixel_size(*picture.frame);
        }
        woken_ = true;
    }
    board_.update([&](PlaybackFacts& facts, StreamCounters& counters) {
        facts.stream.picture = picture.whole_size.value_or(square_pixel_size(*picture.frame));
        counters.shown_pictures += picture.is_preview ? 0 : 1;
    });
    changed_.notify_all();
}

/// Playing comes to rest only now, so that its state is not told before its picture is there.
void FilePlayer::picture_delivered(const Picture& picture) {
    {
        const std::lock_guard lock{mutex_};
        if (picture.generation != pictures_->generation.load()) {
            return;
        }
        last_delivered_ = picture.position;
        woken_ = true;
    }
    changed_.notify_all();
}

void FilePlayer::expect_groups_around(Position position) {
    const auto key = index_->find(position);
    const auto next = index_->find_next(position + Ticks{1});
    if (key && next && next->presentation > key->presentation) {
        pictures_->recent->expect_groups_of(next->presentation - key->presentation);
    }
}

void FilePlayer::sound_begins(Position position) {
    const std::lock_guard lock{mutex_};
    pictures_->clock.anchor(position, tempo_.is_paused() ? 0.0 : run_rate_, SteadyClock::now());
    run_begun_ = true;
    last_shown_ = position;
}

void FilePlayer::run(const std::stop_token& stop) {
    try {
        while (!stop.stop_requested()) {
            if (take_commands() && !rests_in_pause() && active().work()) {
                continue;
            }
            check_limit();
            tags_->save();
            wait_for_work(stop);
        }
    } catch (const std::exception& error) {
        log_incident("file", "player", setup_.latin1_path + ' ' + error.what() + ", playing ended");
        rest(Rest::at_end, pictures_->clock.snapshot().position(SteadyClock::now()));
    }
    other_.reset(); // its threads wake this player
    set_readiness(Readiness::failed);
    tags_->save();
}

/// With its picture on the screen a pause needs nothing more: what follows is decoded when playing goes on.
bool FilePlayer::rests_in_pause() const {
    const std::lock_guard lock{mutex_};
    return tempo_.is_paused() && run_begun_;
}

void FilePlayer::wait_for_work(const std::stop_token& stop) {
    const auto data_due = hand_out_data();
    const auto end = other_ ? std::nullopt : forward_->limit();
    std::unique_lock lock{mutex_};
    const auto is_woken = [this] { return std::exchange(woken_, false); };
    const SteadyTime end_due =
        end && rest_ == Rest::none ? pictures_->clock.snapshot().due(*end) : SteadyTime::max();
    const SteadyTime next_due = std::min(end_due, data_due.value_or(SteadyTime::max()));
    if (next_due == SteadyTime::max()) {
        changed_.wait(lock, stop, is_woken);
    } else {
        changed_.wait_until(lock, stop, next_due, is_woken);
    }
}

/// @return when there is more to hand out
std::optional<SteadyTime> FilePlayer::hand_out_data() {
    if (other_) {
        return std::nullopt;
    }
    const SteadyTime now = SteadyClock::now();
    return data_.hand_out(pictures_->clock.snapshot(), now, [&](std::span<const std::uint8_t> unit) {
        {
            const std::lock_guard lock{mutex_};
            data_meter_.add(unit.size(), now);
        }
        hooks_.on_data(unit);
    });
}

/// @return false while a wanted position is not known yet
bool FilePlayer::take_commands() {
    if (!seek_if_wanted()) {
        return false;
    }
    follow_growth();
    follow_tempo();
    return true;
}

/// A file that grows again after playing came to its end is played on.
void FilePlayer::follow_growth() {
    {
        const std::lock_guard lock{mutex_};
        if (rest_ != Rest::at_end || other_ || tempo_.is_paused() || tempo_.is_reverse()) {
            return;
        }
    }
    if (!forward_->last_certain() || points_->extent().last_picture <= resting_extent_) {
        return;
    }
    const Position from = *forward_->last_certain() + Ticks{1};
    if (const auto start = points_->find(from)) {
        is_finishing_ = false;
        begin_forward(*start, from);
    }
}

bool FilePlayer::seek_if_wanted() {
    std::optional<Position> wanted;
    {
        const std::lock_guard lock{mutex_};
        woken_ = false;
        wanted = wanted_position_;
    }
    if (!wanted) {
        return true;
    }
    const auto target = target_of(*wanted);
    const auto start = target ? points_->find(*target) : std::nullopt;
    if (!start) {
        return false;
    }
    {
        const std::lock_guard lock{mutex_};
        if (wanted_position_ == wanted) {
            wanted_position_.reset(); // else a newer command waits and is next
        }
    }
    is_finishing_ = false;
    begin_forward(*start, *target);
    return true;
}

/// @return nothing while the end is wanted but not known
std::optional<Position> FilePlayer::target_of(Position wanted) const {
    const IndexExtent extent = points_->extent();
    if (extent.complete) {
        return std::min(wanted, extent.last_picture);
    }
    if (wanted != the_end) {
        return wanted;
    }
    const Position estimated = extent.estimated_end - forward_->feed().units().unit_duration();
    return estimated > Position{} ? std::optional{estimated} : std::nullopt;
}

/// From here the forward run shows the picture at `target` and goes on.
void FilePlayer::begin_forward(const DecodingStart& start, Position target) {
    other_.reset();
    data_.restart(target);
    {
        const std::lock_guard lock{mutex_};
        ++pictures_->generation;
        pictures_->clock.anchor(target, 0.0, SteadyClock::now());
        run_begun_ = false;
        rest_ = Rest::none;
        last_shown_.reset();
        last_delivered_.reset();
        // Where another run takes over at once, the clock waits for it.
        run_rate_ = is_suited(tempo_) ? tempo_.rate() : 0.0;
    }
    board_.update([](PlaybackFacts& facts, StreamCounters&) {
        facts.at_end = false;
        facts.at_start = false;
    });
    forward_->begin(start, target);
}

PlayRun& FilePlayer::active() const {
    return other_ ? *other_ : *forward_;
}

/// Whether the active run can play that way.
bool FilePlayer::is_suited(const Tempo& tempo) const {
    if (tempo.is_paused() || is_finishing_ || forward_->sound_only()) {
        return true;
    }
    const bool is_forward = !tempo.is_reverse() && !tempo.is_fast();
    return other_ ? tempo.direction == followed_.direction && tempo.is_fast() == followed_.is_fast()
                  : is_forward;
}

void FilePlayer::follow_tempo() {
    Tempo tempo;
    std::optional<Position> shown;
    {
        const std::lock_guard lock{mutex_};
        tempo = tempo_;
        shown = last_shown_;
        if (!shown && rest_ != Rest::none) {
            shown = pictures_->clock.snapshot().position(SteadyClock::now());
        }
    }
    if (tempo.is_paused()) {
        return;
    }
    if (tempo != followed_) {
        is_finishing_ = false;
    }
    if (!is_suited(tempo)) {
        if (shown) {
            turn(*shown, tempo);
        }
        return;
    }
    if (tempo != followed_) {
        if (!other_ && forward_->lacks_references() && shown) {
            turn(*shown, tempo);
            return;
        }
        followed_ = tempo;
        active().set_magnitude(std::abs(tempo.rate()));
    }
    set_clock_rate(forward_->sound_only() ? std::abs(tempo.rate()) : tempo.rate());
}

void FilePlayer::set_clock_rate(double rate) {
    {
        const std::lock_guard lock{mutex_};
        run_rate_ = rate;
        if (!run_begun_ || rest_ != Rest::none || tempo_.is_paused() ||
            pictures_->clock.snapshot().rate() == rate) {
            return;
        }
        pictures_->clock.set_rate(rate, SteadyClock::now());
    }
    hooks_.clock_changed();
}

/// Another run takes over at the picture that is on the screen.
void FilePlayer::turn(Position from, const Tempo& tempo) {
    if (tempo.is_reverse() || tempo.is_fast()) {
        begin_other(from, tempo);
    } else {
        const auto start = points_->find(from);
        if (!start) {
            return;
        }
        begin_forward(*start, from);
        forward_->set_magnitude(tempo.rate());
    }
    followed_ = tempo;
    const std::lock_guard lock{mutex_};
    run_rate_ = tempo.rate();
}

/// What a picture takes that is kept for the screen; 0 when nothing was shown yet. Under mutex_.
std::size_t FilePlayer::held_bytes() const {
    const PictureSize display = pictures_->display.load();
    if (shown_bytes_ == 0 || display == PictureSize{} || shown_size_ == PictureSize{}) {
        return shown_bytes_;
    }
    const PictureSize held = delivered_size(shown_size_, display);
    constexpr std::size_t bytes_per_two_pixels = 3; // 4:2:0 of 8 bits
    const auto pixels = static_cast<std::size_t>(held.width) * static_cast<std::size_t>(held.height);
    return std::min(shown_bytes_, pixels * bytes_per_two_pixels / 2);
}

void FilePlayer::begin_other(Position from, const Tempo& tempo) {
    std::size_t picture_bytes = 0;
    {
        const std::lock_guard lock{mutex_};
        ++pictures_->generation;
        pictures_->clock.anchor(from, 0.0, SteadyClock::now());
        run_begun_ = false;
        rest_ = Rest::none;
        last_delivered_.reset();
        picture_bytes = held_bytes();
    }
    board_.update([](PlaybackFacts& facts, StreamCounters&) {
        facts.at_end = false;
        facts.at_start = false;
    });
    pictures_->pictures.clear();
    sounds_->clear();
    hooks_.discard_sound();
    if (tempo.is_fast()) {
        const auto direction = tempo.is_reverse() ? KeyRun::Direction::reverse : KeyRun::Direction::forward;
        other_ = std::make_unique<KeyRun>(source_, *points_, make_outlet(), direction, from);
    } else {
        const ReverseStream stream{forward_->feed().units().unit_duration(), picture_bytes,
                                   forward_->video().shares(), forward_->video().effort()};
        auto reverse =
            std::make_unique<ReverseRun>(source_, *points_, make_outlet(), stream, from, [this] { wake(); });
        if (tempo.speed == PLAYER_SPD_NORMAL) {
            reverse->begin_with(pictures_->recent->take());
        }
        other_ = std::move(reverse);
    }
    other_->set_magnitude(std::abs(tempo.rate()));
}

void FilePlayer::check_limit() {
    const auto limit = active().limit();
    if (!limit) {
        return;
    }
    const auto offered = active().last_offered();
    {
        const std::lock_guard lock{mutex_};
        const bool is_shown = !offered || (run_begun_ && last_delivered_ == offered);
        if (rest_ != Rest::none || tempo_.is_paused() || !is_shown) {
            return;
        }
        if (!other_ && (!run_begun_ || pictures_->clock.snapshot().position(SteadyClock::now()) < *limit)) {
            return;
        }
    }
    if (begin_again()) {
        return;
    }
    if (other_ && followed_.is_reverse()) {
        rest(Rest::at_start, *limit);
    } else if (other_ || lacks_the_last_picture()) {
        finish_with_the_last_picture();
    } else {
        rest(Rest::at_end, *limit);
    }
}

/// Whether forward play left it out.
bool FilePlayer::lacks_the_last_picture() const {
    const IndexExtent extent = points_->extent();
    return !is_finishing_ && forward_->leaves_out() && extent.complete &&
           forward_->last_offered() < extent.last_picture;
}

/// Whatever was left out on the way to the end, the last picture stays.
void FilePlayer::finish_with_the_last_picture() {
    const Position last = points_->extent().last_picture;
    if (const auto start = points_->find(last)) {
        is_finishing_ = true;
        begin_forward(*start, last);
        wake();
    }
}

/// @return false when it does not repeat, or there is no more than one picture or moment
bool FilePlayer::begin_again() {
    if (!setup_.repeats || points_->extent().end <= forward_->feed().units().unit_duration() + Position{}) {
        return false;
    }
    {
        const std::lock_guard lock{mutex_};
        if (wanted_position_) {
            return true; // it waits until the position is known
        }
        wanted_position_ = other_ && followed_.is_reverse() ? the_end : Position{};
    }
    wake();
    return true;
}

void FilePlayer::rest(Rest rest, Position at) {
    resting_extent_ = points_->extent().last_picture;
    {
        const std::lock_guard lock{mutex_};
        rest_ = rest;
        pictures_->clock.anchor(at, 0.0, SteadyClock::now());
    }
    board_.update([&](PlaybackFacts& facts, StreamCounters&) {
        facts.at_end = rest == Rest::at_end;
        facts.at_start = rest == Rest::at_start;
    });
}

void FilePlayer::count_decoded(std::uint64_t pictures) {
    board_.update([&](PlaybackFacts&, StreamCounters& counters) { counters.decoded_pictures += pictures; });
}

void FilePlayer::update_facts() {
    const UnitSorter& units = forward_->feed().units();
    const VideoTrack& video = forward_->video();
    const auto& selection = units.selection();
    board_.update([&](PlaybackFacts& facts, StreamCounters& counters) {
        facts.stream.frame_rate = forward_->sound_only() ? 0 : units.meter().units_per_second();
        facts.stream.bitrate = units.meter().kilobits_per_second();
        facts.stream.video_codec = video.codec();
        forward_->sound().report(facts.stream);
        facts.stream.data_codec = selection && selection->data ? selection->data->codec : AV_CODEC_ID_NONE;
        counters.errors = video.errors() + forward_->sound().errors() + units.continuity_errors();
        counters.data_units = units.data_units();
    });
}

} // namespace velmora
