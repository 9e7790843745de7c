// The life of a player, its commands and its thread.
#include "play/file_player.h"

#include "file/latin1.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <utility>

namespace velmora {

namespace {

constexpr std::size_t sound_queue_depth = 48;
/// Pictures that are shown late by less are not left out.
constexpr auto patience = std::chrono::milliseconds{800};

/// A start waits for what comes of a file that is being written, but not for longer.
constexpr auto longest_wait_for_a_writer = std::chrono::seconds{5};

} // namespace

FilePlayer::FilePlayer(Setup setup, Hooks hooks, TimeSource& time, MessageBoard& messages)
    : setup_{std::move(setup)}, hooks_{std::move(hooks)}, time_{time}, messages_{messages},
      pictures_{std::make_shared<PictureSource>()}, sounds_{std::make_shared<SoundQueue>(sound_queue_depth)},
      index_{std::make_shared<AccessPointIndex>()}, slow_decoding_{messages, "file"}, tempo_{setup_.tempo} {
    if (tempo_.is_paused()) {
        pictures_->clock.set_rate(0.0, time_.now());
    }
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
    return {.time = time_,
            .pictures = pictures_,
            .sounds = sounds_,
            .discard_sound = hooks_.discard_sound,
            .ready = [this] { set_readiness(Readiness::ready); },
            .sound_begins = [this](Position position) { sound_begins(position); },
            .nothing_beyond = [this](Position target) { rest(Rest::at_end, target); },
            .facts_changed = [this] { update_facts(); },
            .decoded = [this](std::uint64_t pictures) { count_decoded(pictures); },
            .failed = [this](std::uint64_t errors) { count_errors(errors); },
            .keeps_up = [this](bool is_on_time) { slow_decoding_.note(!is_on_time, time_.now()); }};
}

void FilePlayer::open() {
    source_ = std::make_shared<const FileSource>(setup_.latin1_path);
    points_ = std::make_unique<AccessPointFinder>(source_, index_);
    const auto growth = std::make_shared<FileGrowth>(source_, time_.now());
    forward_ = std::make_unique<ForwardRun>(source_, *points_, make_outlet(), setup_.latin1_path,
                                            [this, growth] { return may_grow(*growth); });
    start_ends_ = time_.now() + longest_wait_for_a_writer;
    forward_->set_data_sink(
        [this](const UnitSorter::DataUnit& unit) { data_.put(unit.position, unit.bytes); });
    auto tags = std::make_unique<TagList>(source_->path());
    const std::lock_guard lock{mutex_};
    tags_ = std::move(tags);
    if (tempo_.is_reverse()) {
        wanted_position_ = the_end;
    } else {
        forward_->begin_with_preview();
    }
    if (stop_.stop_requested()) {
        return;
    }
    scanner_ =
        std::make_unique<IndexScanner>(source_, growth, index_, setup_.sidecar, time_, [this] { wake(); });
    thread_ = Worker{time_, [this](const std::stop_token&) { run(stop_.get_token()); }};
}

bool FilePlayer::may_grow(FileGrowth& growth) const {
    const SteadyTime now = time_.now();
    return growth.is_growing(now) && (now < start_ends_ || is_ready());
}

bool FilePlayer::wait_ready() {
    const auto readiness = [this] {
        const std::lock_guard lock{mutex_};
        return readiness_;
    };
    while (readiness() == Readiness::pending && !stop_.stop_requested()) {
        decided_->wait(stop_.get_token());
    }
    return readiness() == Readiness::ready && !stop_.stop_requested();
}

void FilePlayer::stop() {
    stop_.request_stop();
    Worker thread;
    std::unique_ptr<IndexScanner> scanner;
    {
        const std::lock_guard lock{mutex_};
        thread = std::move(thread_);
        scanner = std::move(scanner_);
    }
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
            pictures_->clock.set_rate(0.0, time_.now());
        }
        tempo_ = tempo;
        status_.update([&](PlaybackFacts& facts, StreamCounters&) { facts.tempo = tempo; });
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
    const SharedPlayClock& clock = pictures_->clock;
    const bool is_plain =
        clock.has_begun() && clock.rate_of_run() == 1.0 && tempo_.rate() == 1.0 && rest_ != Rest::at_start;
    return {is_plain, rest_ == Rest::at_end, pictures_->clock.generation(), last_shown_.value_or(Position{})};
}

PlaybackReport FilePlayer::report() const {
    const SteadyTime now = time_.now();
    const IndexExtent extent = index_->extent();
    PlaybackReport report =
        status_.report(pictures_->clock.snapshot().position(now), extent.likely_end().time_since_epoch());
    report.is_growing = extent.growing;
    report.latin1_path = setup_.latin1_path;
    const std::lock_guard lock{mutex_};
    report.stream.facts.data_bitrate = data_meter_.kilobits_per_second(now);
    return report;
}

void FilePlayer::wake() {
    changed_->notify();
}

void FilePlayer::set_readiness(Readiness readiness) {
    {
        const std::lock_guard lock{mutex_};
        if (readiness_ != Readiness::pending) {
            return;
        }
        readiness_ = readiness;
        status_.update([&](PlaybackFacts& facts, StreamCounters&) {
            facts.running = readiness == Readiness::ready;
            facts.tempo = tempo_;
        });
    }
    decided_->notify();
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
        if (is_ready()) {
            messages_.post(MessageBoard::Severity::error, "file", "player",
                           std::string{"Playing ended: "} + error.what() + " (" +
                               shown_path(setup_.latin1_path) + ')');
        } else {
            hooks_.unplayable(error.what());
        }
        rest(Rest::at_end, pictures_->clock.snapshot().position(time_.now()));
    }
    other_.reset(); // its threads wake this player
    slow_decoding_.withdraw();
    note_scrambling(false);
    set_readiness(Readiness::failed);
    tags_->save();
}

/// With its picture on the screen a pause needs nothing more: what follows is decoded when playing goes on.
bool FilePlayer::rests_in_pause() const {
    const std::lock_guard lock{mutex_};
    return tempo_.is_paused() && pictures_->clock.has_begun();
}

void FilePlayer::wait_for_work(const std::stop_token& stop) {
    const auto data_due = hand_out_data();
    const auto end = other_ ? std::nullopt : forward_->limit();
    std::unique_lock lock{mutex_};
    const SteadyTime end_due =
        end && rest_ == Rest::none ? pictures_->clock.snapshot().due(*end) : SteadyTime::max();
    const bool is_starting = readiness_ == Readiness::pending && time_.now() < start_ends_;
    const SteadyTime start_due = is_starting ? start_ends_ : SteadyTime::max();
    lock.unlock();
    changed_->wait(stop, std::min({end_due, start_due, data_due.value_or(SteadyTime::max())}));
}

/// @return when there is more to hand out
std::optional<SteadyTime> FilePlayer::hand_out_data() {
    if (other_) {
        return std::nullopt;
    }
    const SteadyTime now = time_.now();
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

void FilePlayer::count_decoded(std::uint64_t pictures) {
    status_.update([&](PlaybackFacts&, StreamCounters& counters) { counters.decoded_pictures += pictures; });
}

void FilePlayer::count_errors(std::uint64_t errors) {
    if (errors > 0) {
        other_errors_ += errors;
        update_facts();
    }
}

void FilePlayer::note_scrambling(bool is_scrambled) {
    if (is_scrambled == std::exchange(is_scrambled_, is_scrambled)) {
        return;
    }
    if (is_scrambled) {
        messages_.begin(MessageBoard::State::scrambled, MessageBoard::Severity::error, "file",
                        "The file is scrambled and cannot be shown");
    } else {
        messages_.end(MessageBoard::State::scrambled);
    }
}

void FilePlayer::update_facts() {
    const UnitSorter& units = forward_->feed().units();
    note_scrambling(units.is_scrambled());
    const VideoTrack& video = forward_->video();
    const auto& selection = units.selection();
    status_.update([&](PlaybackFacts& facts, StreamCounters& counters) {
        facts.stream.frame_rate = forward_->sound_only() ? 0 : units.meter().units_per_second();
        facts.stream.bitrate = units.meter().kilobits_per_second();
        facts.stream.video_codec = video.codec();
        forward_->sound().report(facts.stream);
        facts.stream.data_codec = selection && selection->data ? selection->data->codec : AV_CODEC_ID_NONE;
        counters.errors =
            video.errors() + forward_->sound().errors() + units.continuity_errors() + other_errors_;
        counters.data_units = units.data_units();
    });
}

} // namespace velmora
