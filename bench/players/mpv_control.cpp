#include "players/mpv_control.h"

#include <cstring>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

MpvControl::MpvControl(const std::filesystem::path& socket)
    : m_connection(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, socket.c_str(), sizeof(address.sun_path) - 1);
    if (connect(m_connection, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
        close(m_connection);
        throw std::runtime_error("mpv does not listen");
    }
    // Nobody reads what it would tell.
    send(R"("disable_event", "all")");
}

MpvControl::~MpvControl() {
    close(m_connection);
}

Clock::time_point MpvControl::send(const std::string& elements) {
    const std::string order = "{\"command\": [" + elements + "], \"async\": true}\n";
    const auto moment = Clock::now();
    if (write(m_connection, order.data(), order.size()) != static_cast<ssize_t>(order.size())) {
        throw std::runtime_error("mpv does not take commands");
    }
    return moment;
}
