#include "live/live_player.h"

#include "players/peer_commands.h"
#include "players/zandor_window.h"

#include <fstream>

namespace {

/** Through the dialog that asks for a network stream; what is in it was chosen before. */
class LiveZandor : public LivePlayer {
public:
    LiveZandor(Desktop& desktop, const Command& command) : m_window(desktop, command) {}

    const ChildProcess& process() const override { return m_window.process(); }

    Joining join() override {
        const auto until_window = m_window.wait_until_open();
        m_window.open_dialog(MediaMenu::network_stream);
        const auto order = m_window.press_play();
        return {.start = order - until_window, .in_window = order}; // the dialog's time is the user's
    }

private:
    ZandorWindow m_window;
};

/** A player that receives from its start on. */
class LivePeer : public LivePlayer {
public:
    explicit LivePeer(const Command& command) : m_process(command) {}

    const ChildProcess& process() const override { return m_process; }
    Joining join() override { return {.start = m_process.started()}; }

private:
    ChildProcess m_process;
};

void choose_source(const Command& zandor, std::uint16_t port) {
    std::ofstream(zandor.directory / "\nzandor_player.cfg")
        << R"({"network": {"Transport": 1, "Mode": 1, "sync_delay": 0, "Port": )" << port << "}}\n";
}

/** With as much room for datagrams as ours asks for. */
std::string peer_address(std::uint16_t port) {
    return "udp://127.0.0.1:" + std::to_string(port) +
           "?fifo_size=1000000&overrun_nonfatal=1&buffer_size=4194304";
}

Command live_mpv(const LiveSource& source) {
    return mpv_command(source.shown, {"--profile=low-latency", "--cache=no", peer_address(source.port)});
}

Command live_ffplay(const LiveSource& source) {
    std::vector<std::string> options = {"-fflags", "nobuffer"};
    if (source.is_low_delay) {
        // Without time stamps it shows each picture as it comes.
        options.insert(options.end(), {"-flags", "low_delay", "-probesize", "32", "-analyzeduration", "0",
                                       "-sync", "ext", "-vf", "setpts=0"});
    }
    options.push_back(peer_address(source.port));
    return ffplay_command(source.shown, options);
}

} // namespace

LivePlayers live_players(Desktop& desktop, const std::filesystem::path& programs,
                         const std::filesystem::path& scratch) {
    return {
        {"zandor",
         [&desktop, programs, scratch](const LiveSource& source) {
             const Command command = zandor_command(programs, scratch, programs / "libvelmora.so");
             choose_source(command, source.port);
             return std::make_unique<LiveZandor>(desktop, command);
         }},
        {"mpv", [](const LiveSource& source) { return std::make_unique<LivePeer>(live_mpv(source)); }},
        {"ffplay", [](const LiveSource& source) { return std::make_unique<LivePeer>(live_ffplay(source)); }},
    };
}
