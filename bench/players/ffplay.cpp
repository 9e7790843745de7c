#include "players/player.h"

namespace {

class Ffplay : public Player {
public:
    explicit Ffplay(const Stream& stream)
        : m_process({.arguments = {"ffplay", "-loglevel", "quiet", "-noborder", "-left", "100", "-top", "100",
                                   "-x", std::to_string(stream.width), "-y", std::to_string(stream.height),
                                   stream.file.string()},
                     .environment = {"SDL_AUDIODRIVER=dummy", "SDL_RENDER_DRIVER=software"},
                     .directory = {}}) {}

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
