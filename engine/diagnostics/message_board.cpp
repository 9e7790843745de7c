#include "diagnostics/message_board.h"

#include "diagnostics/log.h"

#include <utility>

namespace velmora {

void MessageBoard::post(Severity severity, std::string_view component, std::string_view kind,
                        std::string text) {
    if (severity != Severity::notice) {
        log_incident(component, kind, text);
    }
    const std::lock_guard lock{mutex_};
    latest_ = {++last_number_, severity, false, std::move(text)};
    latest_at_ = time_.now();
}

void MessageBoard::begin(State state, Severity severity, std::string_view component,
                         const std::string& text) {
    bool has_begun = false;
    {
        const std::lock_guard lock{mutex_};
        auto& entry = states_[static_cast<std::size_t>(state)];
        has_begun = !entry;
        entry = Message{entry ? entry->number : ++last_number_, severity, true, text};
    }
    if (has_begun && severity != Severity::notice && !component.empty()) {
        log_incident(component, "state " + std::to_string(static_cast<int>(state)), text);
    }
}

void MessageBoard::end(State state) {
    const std::lock_guard lock{mutex_};
    auto& entry = states_[static_cast<std::size_t>(state)];
    if (entry && entry->number > latest_.number) {
        latest_ = {entry->number, std::nullopt, false, {}};
    }
    entry.reset();
}

const MessageBoard::Message* MessageBoard::newest_state() const {
    const Message* newest = nullptr;
    for (const auto& state : states_) {
        if (state && (newest == nullptr || state->number > newest->number)) {
            newest = &*state;
        }
    }
    return newest;
}

std::optional<MessageBoard::Message> MessageBoard::newest() const {
    const std::lock_guard lock{mutex_};
    if (const Message* const state = newest_state()) {
        const bool event_stands =
            latest_.severity && latest_.number > state->number && time_.now() - latest_at_ < event_time;
        return event_stands ? latest_ : *state;
    }
    return last_number_ == 0 ? std::nullopt : std::optional{latest_};
}

} // namespace velmora
