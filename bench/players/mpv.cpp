#include "players/mpv_control.h"
#include "players/peer_commands.h"
#include "players/player.h"

#include <utility>

namespace {

/** Seconds that it has to begin earlier to be exact in transport streams: more than a group. */
std::string seek_margin(const Stream& stream) {
    return std::to_string(static_cast<double>(stream.gop) / stream.fps + 0.5);
}

Command command(const Stream& stream, const std::filesystem::path& socket) {
    return mpv_command(stream, {"--idle=yes", "--input-ipc-server=" + socket.string(), "--keep-open=yes",
                                "--hr-seek=yes", "--hr-seek-demuxer-offset=" + seek_margin(stream),
                                "--rebase-start-time=no", stream.file.string()});
}

class Mpv : public TrickPlayer {
public:
    Mpv(Stream stream, std::filesystem::path socket, int racing_speed)
        : m_stream(std::move(stream)), m_socket(std::move(socket)), m_racing_speed(racing_speed),
          m_process(command(m_stream, m_socket)) {}

    const ChildProcess& process() const override { return m_process; }

    Clock::time_point play() override { return m_process.started(); }

    std::optional<Clock::time_point> open(const Stream& stream) override {
        return control().send(R"("loadfile", ")" + stream.file.string() + "\"");
    }

    Clock::time_point pause() override { return control().send(R"("set_property", "pause", true)"); }

    Clock::time_point seek(int second) override {
        const double half_a_picture = 0.5 / m_stream.fps;
        return control().send(R"("seek", )" + std::to_string(m_stream.first_time + second - half_a_picture) +
                              R"(, "absolute+exact")");
    }

    Clock::time_point turn_round() override {
        return control().send(R"("set_property", "play-dir", "backward")");
    }

    Clock::time_point race() override {
        return control().send(R"("set_property", "speed", )" + std::to_string(m_racing_speed));
    }

private:
    MpvControl& control() {
        if (!m_control) {
            m_control.emplace(m_socket);
        }
        return *m_control;
    }

    Stream m_stream;
    std::filesystem::path m_socket;
    int m_racing_speed;
    ChildProcess m_process;
    std::optional<MpvControl> m_control;
};

} // namespace

std::unique_ptr<TrickPlayer> make_mpv(const Stream& stream, const std::filesystem::path& scratch,
                                      int racing_speed) {
    std::filesystem::create_directories(scratch);
    const auto socket = scratch / "mpv.socket";
    std::filesystem::remove(socket);
    return std::make_unique<Mpv>(stream, socket, racing_speed);
}
