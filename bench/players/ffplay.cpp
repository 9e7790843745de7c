#include "players/peer_commands.h"
#include "players/player.h"

namespace {

class Ffplay : public Player {
public:
    explicit Ffplay(const Stream& stream) : m_process(ffplay_command(stream, {stream.file.string()})) {}

    const ChildProcess& process() const override { return m_process; }

    Clock::time_point play() override { return m_process.started(); }

    std::optional<Clock::time_point> open(const Stream& /*stream*/) override { return std::nullopt; }

private:
    ChildProcess m_process;
};

} // namespace

std::unique_ptr<Player> make_ffplay(const Stream& stream) {
    return std::make_unique<Ffplay>(stream);
}
