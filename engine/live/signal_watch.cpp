#include "live/signal_watch.h"

#include <algorithm>

namespace velmora {

namespace {

using namespace std::chrono_literals;
using Severity = MessageBoard::Severity;

std::string seconds_text(SteadyClock::duration time) {
    return std::to_string(std::chrono::duration_cast<std::chrono::seconds>(time).count()) + " s";
}

} // namespace

SignalWatch::SignalWatch(MessageBoard& messages, Source source, SteadyTime now)
    : messages_{messages}, source_{std::move(source)}, begin_{now} {}

SignalWatch::~SignalWatch() {
    withdraw();
}

void SignalWatch::look(const Sight& sight, SteadyTime now) {
    const auto complaint = judge(sight, now);
    if (!complaint) {
        withdraw();
        return;
    }
    if (state_ == complaint->state && text_ == complaint->text) {
        return;
    }
    if (state_ != complaint->state) {
        withdraw();
    }
    state_ = complaint->state;
    text_ = complaint->text;
    messages_.begin(complaint->state, complaint->severity, complaint->is_logged ? "" : "live",
                    complaint->text);
}

void SignalWatch::rest(SteadyTime now) {
    begin_ = now;
    withdraw();
}

void SignalWatch::withdraw() {
    if (const auto state = std::exchange(state_, std::nullopt)) {
        messages_.end(*state);
        text_.clear();
    }
}

std::optional<SignalWatch::Complaint> SignalWatch::judge(const Sight& sight, SteadyTime now) const {
    if (!sight.data_since || now - sight.last_data >= live_age) {
        return judge_silence(sight, now);
    }
    if (sight.is_scrambled) {
        return Complaint{State::scrambled, Severity::error,
                         "The stream on " + source_.name + " is scrambled and cannot be shown"};
    }
    // Pictures of a slow stream are not old before the next one is overdue.
    const auto longest = std::max<SteadyClock::duration>(live_age, 2 * sight.picture_interval);
    const SteadyTime since = std::max(begin_, sight.last_picture.value_or(*sight.data_since));
    if (sight.content == Content::no_video || now - since < longest) {
        return std::nullopt;
    }
    if (sight.last_picture && now - *sight.data_since < live_age) {
        return Complaint{State::no_signal, Severity::warning,
                         "Data comes again on " + source_.name + ", the picture is " +
                             seconds_text(now - *sight.last_picture) + " old"};
    }
    if (sight.last_picture) {
        return Complaint{State::old_picture, Severity::warning,
                         "The picture is " + seconds_text(now - *sight.last_picture) +
                             " old: what comes on " + source_.name + " cannot be decoded"};
    }
    // Not worth a line: whoever joins a stream waits for its next key picture.
    return Complaint{
        State::old_picture, Severity::notice,
        "Data comes on " + source_.name +
            (sight.content == Content::video ? ", but no picture yet" : ", but no programme yet")};
}

std::optional<SignalWatch::Complaint> SignalWatch::judge_silence(const Sight& sight, SteadyTime now) const {
    if (std::string trouble = source_.trouble ? source_.trouble() : std::string{}; !trouble.empty()) {
        return Complaint{State::no_signal, Severity::error, std::move(trouble), true};
    }
    if (sight.data_since) {
        return Complaint{State::no_signal, Severity::warning,
                         "No signal for " + seconds_text(now - sight.last_data) + " on " + source_.name};
    }
    if (now - begin_ < quiet_start) {
        return std::nullopt;
    }
    return Complaint{State::no_signal, Severity::notice, "Waiting for data on " + source_.name};
}

} // namespace velmora
