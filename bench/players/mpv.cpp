#include "players/player.h"

#include <cstring>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

Command command(const Stream& stream, const std::filesystem::path& socket) {
    const std::string size = std::to_string(stream.width) + "x" + std::to_string(stream.height);
    return {.arguments = {"mpv", "--no-config", "--vo=x11", "--zimg-scaler=bilinear", "--zimg-dither=no",
                          "--ao=null", "--hwdec=no", "--no-border", "--geometry=" + size + "+100+100",
                          "--no-osc", "--osd-level=0", "--no-input-default-bindings", "--no-terminal",
                          "--idle=yes", "--force-window=yes", "--input-ipc-server=" + socket.string(),
                          stream.file.string()},
            .environment = {},
            .directory = {}};
}

class Mpv : public Player {
public:
    Mpv(const Stream& stream, std::filesystem::path socket)
        : m_socket(std::move(socket)), m_process(command(stream, m_socket)) {}

    const ChildProcess& process() const override { return m_process; }

    Clock::time_point play() override { return m_process.started(); }

    std::optional<Clock::time_point> open(const Stream& stream) override {
        const int connection = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, m_socket.c_str(), sizeof(address.sun_path) - 1);
        if (connect(connection, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
            close(connection);
            throw std::runtime_error("mpv does not listen");
        }
        const std::string order = R"({"command": ["loadfile", ")" + stream.file.string() + "\"]}\n";
        const auto moment = Clock::now();
        const bool sent = write(connection, order.data(), order.size()) == static_cast<ssize_t>(order.size());
        close(connection);
        return sent ? std::optional(moment) : std::nullopt;
    }

private:
    std::filesystem::path m_socket;
    ChildProcess m_process;
};

} // namespace

std::unique_ptr<Player> make_mpv(const Stream& stream, const std::filesystem::path& scratch) {
    std::filesystem::create_directories(scratch);
    const auto socket = scratch / "mpv.socket";
    std::filesystem::remove(socket);
    return std::make_unique<Mpv>(stream, socket);
}
