// The line over the picture: what the engine says, and what the window itself has to say.
#include "mainwindow.h"

#include "engine_extension.h"
#include "engine_records.h"
#include "engine_session.h"
#include "message_line.h"
#include "player_state.h"

#include <chrono>
#include <cstddef>
#include <cstring>

namespace {

/// A person takes what comes this soon for at once.
constexpr std::chrono::milliseconds message_poll_interval{250};

/// The text of another program's record may lack its end.
QString text_of(const velmora_message_t& message) {
    return QString::fromUtf8(message.text, static_cast<int>(::strnlen(message.text, sizeof message.text)));
}

MessageLine::Severity severity_of(int kind) {
    switch (kind) {
    case MESSAGE_NOTICE:
        return MessageLine::Severity::notice;
    case MESSAGE_WARNING:
        return MessageLine::Severity::warning;
    default:
        return MessageLine::Severity::error;
    }
}

} // namespace

void MainWindow::start_messages() {
    engine_event = std::nullopt;
    engine_state = std::nullopt;
    engine_speaks = false;
    if (has_session() && engine_extension(&velmora_ext_t::Velmora_get_message) != nullptr) {
        message_TM.start(message_poll_interval);
    }
}

void MainWindow::stop_messages() {
    message_TM.stop();
    message_line->clear();
}

void MainWindow::follow_messages() {
    const auto get_message = engine_extension(&velmora_ext_t::Velmora_get_message);
    if (get_message == nullptr || !has_session()) {
        stop_messages();
        return;
    }
    velmora_message_t message{};
    if (get_message(m_VidDisp, &message) != 0) {
        message.kind = MESSAGE_NONE;
    }
    const int kind = message.kind & ~MESSAGE_LASTING;
    const bool is_state = kind != MESSAGE_NONE && (message.kind & MESSAGE_LASTING) != 0;
    const bool is_event = kind != MESSAGE_NONE && !is_state;
    if (is_state && (engine_state != message.number || !message_line->shows_event())) {
        message_line->show_state(text_of(message), severity_of(kind));
        engine_state = message.number;
        engine_speaks = true;
    } else if (is_event && engine_event != message.number) {
        message_line->show_event(text_of(message), severity_of(kind));
        engine_event = message.number;
        engine_speaks = true;
    } else if (engine_speaks && (kind == MESSAGE_NONE || (is_event && !message_line->shows_event()))) {
        message_line->clear(); // what was said holds no longer
        engine_speaks = false;
    }
}

void MainWindow::say_path_too_long(const char* purpose) {
    engine_speaks = false;
    message_line->show_event(QStringLiteral("The path is longer than %1 bytes and cannot be %2.")
                                 .arg(longest_path)
                                 .arg(QLatin1String{purpose}),
                             MessageLine::Severity::error);
}
