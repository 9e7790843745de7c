#include "file/file_player.h"

#include "diagnostics/log.h"

#include <algorithm>
#include <exception>
#include <utility>

namespace velmora {

namespace {

using namespace std::chrono_literals;

constexpr std::size_t sound_queue_depth = 48;
/// What may wait when one stream is far ahead of the other in the file, bytes.
constexpr std::size_t most_waiting_for_pictures = std::size_t{16} << 20U;
constexpr std::size_t most_waiting_for_sound = std::size_t{4} << 20U;
/// How far to look for something playable, bytes.
constexpr std::uint64_t longest_search = std::uint64_t{32} << 20U;
constexpr int most_steps_back = 3;
constexpr Ticks late_picture = 100ms;

} // namespace

FilePlayer::FilePlayer(Setup setup, Hooks hooks)
    : setup_{std::move(setup)}, hooks_{std::move(hooks)}, board_{setup_.latin1_path},
      pictures_{std::make_shared<PictureSource>()}, sounds_{std::make_shared<SoundQueue>(sound_queue_depth)},
      index_{std::make_shared<AccessPointIndex>()}, paused_{setup_.paused} {
    pictures_->on_shown = [this](const Picture& picture) { picture_shown(picture); };
    pictures_->pictures.set_on_room([this] { wake(); });
    sounds_->set_on_room([this] { wake(); });
}

FilePlayer::~FilePlayer() {
    stop();
    // Whoever takes from the queues may do so a moment longer.
    pictures_->pictures.set_on_room(nullptr);
    sounds_->set_on_room(nullptr);
}

void FilePlayer::open() {
    source_ = std::make_shared<const FileSource>(setup_.latin1_path);
    feed_ = std::make_unique<StreamFeed>(source_);
    video_.preview_first([this](Picture picture) { offer_preview(std::move(picture)); });
    const std::lock_guard lock{mutex_};
    if (stop_.stop_requested()) {
        return;
    }
    scanner_ = std::make_unique<IndexScanner>(source_, index_, [this] { wake(); });
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

void FilePlayer::set_paused(bool paused) {
    {
        const std::lock_guard lock{mutex_};
        paused_ = paused;
        if (run_begun_ && !ended_) {
            pictures_->clock.set_rate(paused ? 0.0 : 1.0, SteadyClock::now());
        }
        board_.update([&](PlaybackFacts& facts, PlaybackCounters&) { facts.paused = paused; });
    }
    hooks_.clock_changed();
    wake();
}

void FilePlayer::report(velmora_info_t& info) const {
    const Position position = pictures_->clock.snapshot().position(SteadyClock::now());
    board_.report(info, position, index_->extent().likely_end().time_since_epoch());
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
    }
    board_.update([&](PlaybackFacts& facts, PlaybackCounters&) {
        facts.running = readiness == Readiness::ready;
        facts.paused = setup_.paused;
    });
    changed_.notify_all();
}

void FilePlayer::picture_shown(const Picture& picture) {
    {
        const std::lock_guard lock{mutex_};
        if (picture.generation != pictures_->generation.load()) {
            return;
        }
        if (picture.begins_run) {
            pictures_->clock.anchor(picture.position, paused_ ? 0.0 : 1.0, SteadyClock::now());
            run_begun_ = true;
        }
        last_shown_ = picture.position;
        woken_ = true;
    }
    board_.update([&](PlaybackFacts& facts, PlaybackCounters& counters) {
        facts.picture = square_pixel_size(*picture.frame);
        counters.shown_pictures += picture.is_preview ? 0 : 1;
    });
    changed_.notify_all();
}

void FilePlayer::run(const std::stop_token& stop) {
    try {
        while (!stop.stop_requested()) {
            if (take_commands() && work()) {
                continue;
            }
            check_end();
            wait_for_work(stop);
        }
    } catch (const std::exception& error) {
        log_incident("file", "player", setup_.latin1_path + ' ' + error.what() + ", playing ended");
        const std::lock_guard lock{mutex_};
        ended_ = true;
    }
    set_readiness(Readiness::failed);
}

void FilePlayer::wait_for_work(const std::stop_token& stop) {
    const auto end = end_position();
    std::unique_lock lock{mutex_};
    const auto is_woken = [this] { return std::exchange(woken_, false); };
    const SteadyTime end_due = end && !ended_ ? pictures_->clock.snapshot().due(*end) : SteadyTime::max();
    if (end_due == SteadyTime::max()) {
        changed_.wait(lock, stop, is_woken);
    } else {
        changed_.wait_until(lock, stop, end_due, is_woken);
    }
}

/// @return false while a wanted position is not indexed yet
bool FilePlayer::take_commands() {
    std::optional<Position> wanted;
    {
        const std::lock_guard lock{mutex_};
        woken_ = false;
        wanted = wanted_position_;
    }
    if (!wanted) {
        return true;
    }
    const IndexExtent extent = index_->extent();
    const Position target = extent.complete ? std::min(*wanted, extent.last_picture) : *wanted;
    if (index_->covers(target)) {
        begin_seek(*wanted, target, index_->find(target));
        return true;
    }
    if (const auto point = find_unscanned(target)) {
        begin_seek(*wanted, target, point);
        return true;
    }
    return false;
}

std::optional<AccessPoint> FilePlayer::find_unscanned(Position target) {
    if (source_->size() < Bisector::worthwhile || not_bisected_ == target) {
        return std::nullopt;
    }
    if (!bisector_) {
        bisector_ = std::make_unique<Bisector>(source_);
    }
    auto point = bisector_->find(target);
    if (!point) {
        not_bisected_ = target;
    }
    return point;
}

void FilePlayer::begin_seek(Position wanted, Position target, const std::optional<AccessPoint>& point) {
    {
        const std::lock_guard lock{mutex_};
        if (wanted_position_ == wanted) {
            wanted_position_.reset(); // else a newer command waits and is next
        }
        ++pictures_->generation;
        pictures_->clock.anchor(target, 0.0, SteadyClock::now());
        run_begun_ = false;
        ended_ = false;
        last_shown_.reset();
    }
    board_.update([](PlaybackFacts& facts, PlaybackCounters&) { facts.at_end = false; });
    steps_back_ = 0;
    restart_tracks(point, target);
}

void FilePlayer::restart_tracks(const std::optional<AccessPoint>& point, Position target) {
    pictures_->pictures.clear();
    sounds_->clear();
    hooks_.discard_sound();
    feed_->seek(point);
    video_.restart(target);
    sound_.restart(target);
    started_at_ = point;
    target_ = target;
    run_offered_ = false;
    tracks_finished_ = false;
    last_offered_.reset();
}

bool FilePlayer::sound_only() const {
    return approach_ == Approach::sound_only || (feed_->selection() && !feed_->selection()->video);
}

bool FilePlayer::work() {
    if (offer_pictures() || offer_sounds()) {
        return true;
    }
    if (approach_ == Approach::sound_only) {
        while (feed_->take_video()) {
            // A stream that cannot be decoded must not fill the memory.
        }
    } else if (video_.ready().empty()) {
        if (auto unit = feed_->take_video()) {
            video_.decode(std::move(*unit));
            update_facts();
            return true;
        }
    }
    if (sound_.ready().empty()) {
        if (auto unit = feed_->take_sound()) {
            sound_.decode(std::move(*unit));
            return true;
        }
    }
    if (!run_offered_ && !started_at_ && feed_->offset() > longest_search) {
        try_next_approach();
        return true;
    }
    if (needs_more()) {
        return feed_->read_more();
    }
    return finish_tracks();
}

bool FilePlayer::needs_more() const {
    if (feed_->at_end()) {
        return false;
    }
    const bool wants_pictures = !sound_only() && video_.ready().empty();
    const bool has_sound = feed_->selection() && feed_->selection()->audio;
    const bool wants_sound = has_sound && sound_.ready().empty();
    return (wants_pictures && feed_->waiting_bytes() < most_waiting_for_pictures) ||
           (wants_sound && feed_->waiting_bytes() < most_waiting_for_sound);
}

void FilePlayer::offer_preview(Picture picture) {
    picture.generation = pictures_->generation.load();
    if (pictures_->pictures.try_push(std::move(picture))) {
        set_readiness(Readiness::ready);
    }
}

bool FilePlayer::offer_pictures() {
    auto& ready = video_.ready();
    bool offered = false;
    while (!ready.empty() && !pictures_->pictures.full()) {
        Picture& picture = ready.front();
        if (!run_offered_ && step_back_from(picture)) {
            return true;
        }
        picture.generation = pictures_->generation.load();
        picture.begins_run = !run_offered_;
        const Position position = picture.position;
        if (!pictures_->pictures.try_push(std::move(picture))) {
            break;
        }
        ready.pop_front();
        offered = true;
        set_readiness(Readiness::ready);
        run_offered_ = true;
        last_offered_ = position;
        const PlayClock clock = pictures_->clock.snapshot();
        video_.set_hurry(clock.running() && clock.position(SteadyClock::now()) - position > late_picture);
    }
    return offered;
}

/// An access point that did not serve, such as in damaged data or before a refresh is complete, shows itself
/// by a first picture behind the target: decoding begins at an earlier one then.
bool FilePlayer::step_back_from(const Picture& first) {
    return first.position > target_ + feed_->unit_duration() * 3 / 2 && step_back();
}

bool FilePlayer::step_back() {
    if (!started_at_ || steps_back_ >= most_steps_back || !index_->covers(target_)) {
        return false;
    }
    const auto earlier = index_->find(target_, started_at_->offset);
    if (!earlier || earlier->offset >= started_at_->offset) {
        return false;
    }
    ++steps_back_;
    restart_tracks(earlier, target_);
    return true;
}

bool FilePlayer::offer_sounds() {
    auto& ready = sound_.ready();
    bool offered = false;
    while (!ready.empty() && !sounds_->full()) {
        const Position position = ready.front().position;
        if (!sounds_->try_push(std::move(ready.front()))) {
            break;
        }
        ready.pop_front();
        offered = true;
        if (sound_only() && !run_offered_) {
            begin_run_with_sound(position);
        }
    }
    return offered;
}

void FilePlayer::begin_run_with_sound(Position position) {
    run_offered_ = true;
    {
        const std::lock_guard lock{mutex_};
        pictures_->clock.anchor(position, paused_ ? 0.0 : 1.0, SteadyClock::now());
        run_begun_ = true;
    }
    update_facts();
    set_readiness(Readiness::ready);
}

/// @return false when everything was brought out before
bool FilePlayer::finish_tracks() {
    // Without a picture the clock stands still and sound waits for ever: that is no reason to wait for it.
    const bool waits_for_sound = feed_->has_sound() && (run_offered_ || sound_.ready().empty());
    if (!feed_->at_end() || feed_->has_video() || waits_for_sound || tracks_finished_) {
        return false;
    }
    tracks_finished_ = true;
    video_.finish();
    update_facts();
    if (run_offered_ || !video_.ready().empty() || (sound_only() && !sound_.ready().empty())) {
        return true;
    }
    if (auto last = video_.take_last_unwanted()) {
        // The jump went behind the last picture: that one stays on the screen.
        video_.ready().push_back(std::move(*last));
        return true;
    }
    if (step_back()) {
        return true;
    }
    if (started_at_) {
        end_at_target();
    } else {
        try_next_approach();
    }
    return true;
}

/// Nothing behind the target can be shown: as if the file ended there.
void FilePlayer::end_at_target() {
    {
        const std::lock_guard lock{mutex_};
        ended_ = true;
        pictures_->clock.anchor(target_, 0.0, SteadyClock::now());
    }
    board_.update([](PlaybackFacts& facts, PlaybackCounters&) { facts.at_end = true; });
}

void FilePlayer::try_next_approach() {
    if (approach_ == Approach::from_access_point && feed_->selection() && feed_->selection()->video) {
        approach_ = Approach::from_anywhere;
        video_ = VideoTrack{};
        video_.accept_damaged_start();
        log_incident("file", "start", setup_.latin1_path + ": no access point, decoding begins without one");
    } else if (approach_ != Approach::sound_only && feed_->selection() && feed_->selection()->audio) {
        approach_ = Approach::sound_only;
        log_incident("file", "start", setup_.latin1_path + ": no picture can be decoded, only sound plays");
    } else {
        throw UnplayableFile{"has no picture or sound that can be decoded"};
    }
    restart_tracks(std::nullopt, target_);
}

std::optional<Position> FilePlayer::end_position() const {
    if (!feed_->at_end() || !tracks_finished_ || !video_.ready().empty() || !sound_.ready().empty()) {
        return std::nullopt;
    }
    return last_offered_ ? *last_offered_ + feed_->unit_duration() : sound_.end();
}

void FilePlayer::check_end() {
    const auto end = end_position();
    if (!end) {
        return;
    }
    {
        const std::lock_guard lock{mutex_};
        const bool is_over = run_begun_ && !ended_ && !paused_ &&
                             (!last_offered_ || last_shown_ == last_offered_) &&
                             pictures_->clock.snapshot().position(SteadyClock::now()) >= *end;
        if (!is_over) {
            return;
        }
        ended_ = true;
        pictures_->clock.anchor(*end, 0.0, SteadyClock::now());
    }
    board_.update([](PlaybackFacts& facts, PlaybackCounters&) { facts.at_end = true; });
}

void FilePlayer::update_facts() {
    const auto& selection = feed_->selection();
    board_.update([&](PlaybackFacts& facts, PlaybackCounters& counters) {
        facts.frame_rate = sound_only() ? 0 : feed_->meter().units_per_second();
        facts.bitrate = feed_->meter().kilobits_per_second();
        facts.video_codec = video_.codec();
        sound_.report(facts);
        facts.data_codec = selection && selection->data ? selection->data->codec : AV_CODEC_ID_NONE;
        counters.decoded_pictures = video_.decoded();
        counters.errors = video_.errors() + sound_.errors() + feed_->continuity_errors();
        counters.data_units = feed_->data_units();
    });
}

} // namespace velmora
